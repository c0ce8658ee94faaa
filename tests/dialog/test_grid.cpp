#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dialog/GridCtrl.h"

using namespace loadcal;

namespace {

/// Records every notification as one line, in order.
class RecordingListener : public IGridListener {
public:
    std::vector<std::string> events;
    void OnGridAboutToReset() override { events.push_back("aboutToReset"); }
    void OnGridReset() override { events.push_back("reset"); }
    void OnRowsAboutToBeInserted(int f, int l) override { Add("aboutToInsert", f, l); }
    void OnRowsInserted(int f, int l) override { Add("inserted", f, l); }
    void OnRowsAboutToBeRemoved(int f, int l) override { Add("aboutToRemove", f, l); }
    void OnRowsRemoved(int f, int l) override { Add("removed", f, l); }
    void OnCellsChanged(const CCellRange& r) override
    {
        events.push_back("cells " + std::to_string(r.minRow) + "," + std::to_string(r.minCol) +
                         "-" + std::to_string(r.maxRow) + "," + std::to_string(r.maxCol));
    }

private:
    void Add(const char* what, int f, int l)
    {
        events.push_back(std::string(what) + " " + std::to_string(f) + "-" + std::to_string(l));
    }
};

CGridCtrl& Sized(CGridCtrl& g, int rows, int cols)
{
    g.SetColumnCount(cols);
    g.SetRowCount(rows);
    g.SetFixedRowCount(1);
    g.SetFixedColumnCount(1);
    return g;
}

}  // namespace

TEST(Grid, RowInsertAndRemoveAreAnnouncedBeforeAndAfter)
{
    CGridCtrl g;
    Sized(g, 3, 4);
    RecordingListener l;
    g.AddListener(&l);
    EXPECT_EQ(g.InsertRow(L"h", 1), 1);
    g.SetRowCount(6);
    g.DeleteRow(2);
    g.SetRowCount(2);
    EXPECT_EQ(l.events,
              (std::vector<std::string>{"aboutToInsert 1-1", "inserted 1-1", "aboutToInsert 4-5",
                                        "inserted 4-5", "aboutToRemove 2-2", "removed 2-2",
                                        "aboutToRemove 2-4", "removed 2-4"}));
    EXPECT_EQ(g.GetItemText(1, 0), L"h");
}

TEST(Grid, BatchSendsOneBoundingCellNotificationAfterRowChanges)
{
    CGridCtrl g;
    Sized(g, 5, 6);
    RecordingListener l;
    g.AddListener(&l);
    {
        CGridCtrl::Batch batch(g);
        g.SetItemText(1, 2, L"a");
        g.SetItemBkColour(3, 4, RGB(1, 2, 3));
        g.InsertRow(L"", 5);  // flushes the cells collected so far first
        g.SetItemText(4, 1, L"b");
        g.SetItemText(2, 5, L"c");
        EXPECT_EQ(l.events.size(), 3u);
    }
    EXPECT_EQ(l.events, (std::vector<std::string>{"cells 1,2-3,4", "aboutToInsert 5-5",
                                                  "inserted 5-5", "cells 2,1-4,5"}));
}

TEST(Grid, WritesOutsideTheGridAreIgnored)
{
    CGridCtrl g;
    Sized(g, 3, 14);
    RecordingListener l;
    g.AddListener(&l);
    EXPECT_FALSE(g.SetItemText(1, 14, L"x"));
    g.RedrawCell(1, 14);
    EXPECT_FALSE(g.SetItemFgColour(7, 0, RGB(0, 0, 0)));
    EXPECT_TRUE(l.events.empty());
    EXPECT_EQ(g.GetItemText(1, 14), L"");
}

TEST(Grid, DropDownListComboKeepsOnlyItsChoices)
{
    CGridCtrl g;
    Sized(g, 2, 5);
    CBtnDataBase shared;
    g.SetItemText(1, 4, L"l1,n");
    g.SetCellCombo(1, 4, {L"L1,N", L"L2,N"}, CBS_DROPDOWNLIST, &shared);
    g.SetItemText(1, 4, g.GetItemText(1, 4));
    EXPECT_EQ(g.GetItemText(1, 4), L"L1,N");
    g.SetItemText(1, 4, L"L2,N");
    EXPECT_EQ(g.GetItemText(1, 4), L"L2,N");
    EXPECT_EQ(g.GetCell(1, 4)->btnData, &shared);
    g.SetCellCombo(1, 3, {}, CBS_DROPDOWNLIST, &shared);
    g.SetItemText(1, 3, L"anything");
    EXPECT_EQ(g.GetItemText(1, 3), L"");
}

TEST(Grid, EditableMeansNotFixedNotReadOnly)
{
    CGridCtrl g;
    Sized(g, 3, 3);
    g.SetItemState(1, 2, GVIS_READONLY);
    EXPECT_FALSE(g.IsCellEditable(0, 1));
    EXPECT_FALSE(g.IsCellEditable(1, 0));
    EXPECT_FALSE(g.IsCellEditable(1, 2));
    EXPECT_TRUE(g.IsCellEditable(1, 1));
    g.SetEditable(false);
    EXPECT_FALSE(g.IsCellEditable(1, 1));
}

TEST(Grid, SelectionIsResetByRowChangesAndFocusFollowsItsRow)
{
    CGridCtrl g;
    Sized(g, 6, 4);
    g.SetSelectedRange(2, 1, 3, 2);
    g.SelectCell(5, 3);
    EXPECT_TRUE(g.IsCellSelected(3, 2));
    EXPECT_EQ(g.GetSelectedRange(), (CCellRange{2, 1, 5, 3}));
    g.SetFocusCell(4, 1);
    g.InsertRow(L"", 2);
    EXPECT_EQ(g.GetSelectedCount(), 0);
    EXPECT_EQ(g.GetFocusCell(), (CCellID{5, 1}));
    g.DeleteRow(1);
    EXPECT_EQ(g.GetFocusCell(), (CCellID{4, 1}));
    g.DeleteRow(4);
    EXPECT_FALSE(g.GetFocusCell().IsValid());
    g.EnableSelection(false);
    g.SetSelectedRange(1, 1, 2, 2);
    EXPECT_FALSE(g.GetSelectedRange().IsValid());
}
