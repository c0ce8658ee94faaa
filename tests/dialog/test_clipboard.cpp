// The spreadsheet clipboard (tab-separated text out and in), the row keys,
// and the checks of number cells with full-width input.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "dialog/LoadCalResources.h"
#include "dialog/NumberText.h"
#include "dialog/TabText.h"
#include "model/Numeric.h"
#include "model/Text.h"
#include "tests/dialog/ScriptedUi.h"

using namespace loadcal;
using loadcal::test::DialogFixture;

namespace {

using Rows = CTabRows;

/// Puts the focus on the entry row of a grid at column col and pastes text.
void PasteAt(DialogFixture& f, GridId grid, int col, const std::wstring& text)
{
    const int entry = grid == GridId::Load ? f.dlg->GetLoads().GetSize() + 1
                                           : f.dlg->GetTransformers().GetSize() + 1;
    f.dlg->GetGrid(grid).SetFocusCell(entry, col);
    f.dlg->OnPasteKey(grid, text);
}

}  // namespace

TEST(TabText, ReadsWhatSpreadsheetsWrite)
{
    EXPECT_EQ(ParseTabText(L""), Rows{});
    EXPECT_EQ(ParseTabText(L"a\tb\r\nc\td\r\n"), (Rows{{L"a", L"b"}, {L"c", L"d"}}));
    EXPECT_EQ(ParseTabText(L"a\tb\nc"), (Rows{{L"a", L"b"}, {L"c"}}));
    EXPECT_EQ(ParseTabText(L"a\rb\r"), (Rows{{L"a"}, {L"b"}}));
    EXPECT_EQ(ParseTabText(L"\t\n"), (Rows{{L"", L""}}));
    EXPECT_EQ(ParseTabText(L"\r\n\r\n"), (Rows{{L""}, {L""}}));
    // Quoted cells keep their tabs, line breaks and doubled quotes.
    EXPECT_EQ(ParseTabText(L"\"x\ty\"\t\"line1\r\nline2\"\t\"say \"\"hi\"\"\"\r\n"),
              (Rows{{L"x\ty", L"line1\r\nline2", L"say \"hi\""}}));
    // A quote inside a cell is text; an unclosed quote runs to the end.
    EXPECT_EQ(ParseTabText(L"12\"\tb"), (Rows{{L"12\"", L"b"}}));
    EXPECT_EQ(ParseTabText(L"\"open\tcell\nnext"), (Rows{{L"open\tcell\nnext"}}));
    EXPECT_EQ(ParseTabText(L"\"a\"b\tc"), (Rows{{L"ab", L"c"}}));
}

TEST(TabText, WhatIsWrittenReadsBackTheSame)
{
    std::mt19937 random(7);
    const wchar_t alphabet[] = L"ab1.\t\r\n\" 中";
    for (int round = 0; round < 500; ++round) {
        Rows rows(1 + random() % 4);
        for (auto& row : rows) {
            row.resize(1 + random() % 4);
            for (auto& cell : row) {
                const size_t length = random() % 5;
                for (size_t k = 0; k < length; ++k) {
                    cell += alphabet[random() % (sizeof(alphabet) / sizeof(wchar_t) - 1)];
                }
            }
        }
        ASSERT_EQ(ParseTabText(FormatTabText(rows)), rows) << "round " << round;
    }
}

TEST(SpreadsheetPaste, EachLineIsACircuitCalculatedAsIfTyped)
{
    // The same circuits typed cell by cell into one document and pasted
    // into another give the same document.
    DialogFixture typed;
    DialogFixture pasted;
    for (DialogFixture* f : {&typed, &pasted}) {
        f->AddTransformer(L"T1");
        f->AddCircuit(L"M0", L"", L"3");
        f->Own(1, {L"T1"});
    }
    typed.Type(GridId::Load, 2, 3, L"风机");
    typed.Type(GridId::Load, 2, 4, L"L2,N");
    typed.Type(GridId::Load, 2, 5, L"7.5");
    typed.Type(GridId::Load, 2, 7, L"0.8");
    typed.Type(GridId::Load, 3, 3, L"水泵");
    typed.Type(GridId::Load, 3, 5, L"15");
    typed.Type(GridId::Load, 3, 6, L"0.4");

    // From column 3: name, phase, power, voltage, K, cos, then computed
    // cells, the owner, the four empty cells of type, quantity, class and
    // fire role and more than the grid has, which are left out. A blank
    // line is skipped, an unknown phase leaves the default, an empty cell too.
    PasteAt(pasted, GridId::Load, 3,
            L"风机\tL2,N\t7.5\t\t0.8\t\t99\t99\t99\t99\tT9\t\t\t\t\textra\r\n"
            L"\t\t\r\n"
            L"水泵\tthree\t15\t0.4\r\n");
    EXPECT_EQ(pasted.dlg->GetLoads(), typed.dlg->GetLoads());
    EXPECT_EQ(pasted.dlg->GetTransformers(), typed.dlg->GetTransformers());
    EXPECT_EQ(pasted.Load().GetRowCount(), 3 + 4);
    const int total = pasted.Load().GetRowCount() - 1;
    for (int c : {5, 8, 9, 10, 11, 12}) {
        EXPECT_EQ(pasted.Load().GetItemText(total, c), typed.Load().GetItemText(total, c));
    }
    EXPECT_EQ(pasted.Texts(GridId::Load, 4, {4, 6, 7, 8}),
              typed.Texts(GridId::Load, 4, {4, 6, 7, 8}))
        << "the entry row's proposals";

    // One undo step takes the whole paste back.
    pasted.dlg->OnEditUndo();
    EXPECT_EQ(pasted.dlg->GetLoads().GetSize(), 1);
    EXPECT_EQ(pasted.Load().GetRowCount(), 1 + 4);
    pasted.dlg->OnEditRedo();
    EXPECT_EQ(pasted.dlg->GetLoads(), typed.dlg->GetLoads());
}

TEST(SpreadsheetPaste, BadTextPlacesWhatItCanAndNothingElse)
{
    DialogFixture f;
    f.AddCircuit(L"M1");
    const CLoadArray before = f.dlg->GetLoads();
    // Empty text, blank lines, and a paste below the entry row.
    PasteAt(f, GridId::Load, 3, L"");
    PasteAt(f, GridId::Load, 3, L"\r\n\t\t\n \n");
    f.Load().SetFocusCell(3, 3);
    f.dlg->PasteText(GridId::Load, L"X\t1\r\n");
    // Starting in the computed or owner columns places nothing, nor does a
    // load class or fire role that is none of their lists.
    PasteAt(f, GridId::Load, 9, L"1\t2\t3\t4\t5\r\n");
    PasteAt(f, GridId::Load, 16, L"一类\t是\r\n");
    f.Load().SetFocusCell(1, 16);
    f.dlg->PasteText(GridId::Load, L"特级\t消防栓\r\n");
    EXPECT_EQ(f.dlg->GetLoads(), before);
    EXPECT_FALSE(f.dlg->CanRedo());
    EXPECT_EQ(f.dlg->GetHistory().GetUndoCount(), 1u) << "nothing placed, no step";

    // Plain text without tabs is one cell; a quoted cell's line breaks
    // become blanks in the one-line cell.
    PasteAt(f, GridId::Load, 3, L"just some words");
    PasteAt(f, GridId::Load, 3, L"\"two\r\nlines\"\t\"5\"\r\n");
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 3);
    EXPECT_EQ(f.dlg->GetLoads()[1].m_strEquipName, L"just some words");
    EXPECT_EQ(f.dlg->GetLoads()[2].m_strEquipName, L"two  lines");
    EXPECT_EQ(f.dlg->GetLoads()[2].m_strPhase, L"L1,L2,L3,N");
    // A long line of junk in the last editable column fills that cell only.
    PasteAt(f, GridId::Load, 8, std::wstring(L"0.9\t") + std::wstring(5000, L'\t') + L"x");
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 4);
    EXPECT_EQ(f.dlg->GetLoads()[3].m_strPowerFactor, L"0.9");
}

TEST(SpreadsheetPaste, TransformerLinesKeepTheNameRuleAndADuplicateLineIsSkipped)
{
    DialogFixture f;
    f.AddTransformer(L"T1");
    PasteAt(f, GridId::Transformer, 1,
            L"T2\t\t\t0.8\t0.95\r\n"
            L"t1\t\t\t0.5\r\n"
            L"T3\r\n"
            L"T2\r\n"
            L"\t\t\t0.6\r\n");
    const CTransformerArray& t = f.dlg->GetTransformers();
    ASSERT_EQ(t.GetSize(), 4);
    EXPECT_EQ(t[1].m_strName, L"T2");
    EXPECT_EQ(t[1].m_strLoadRate, L"0.8");
    EXPECT_EQ(t[1].m_strKp, L"0.95");
    EXPECT_EQ(t[2].m_strName, L"T3");
    // A line without a name is typed as a person would: a nameless row.
    EXPECT_EQ(t[3].m_strName, L"");
    EXPECT_EQ(t[3].m_strLoadRate, L"0.6");
    // The rule's message once for the two duplicate lines.
    ASSERT_EQ(f.ui.boxes.size(), 1u);
    EXPECT_EQ(f.ui.boxes[0].text, L"变压器名称重复,请重新输入!");
    EXPECT_EQ(f.ui.boxes[0].caption, L"提示");
    EXPECT_EQ(f.Transformers().GetRowCount(), 4 + 2);
    f.dlg->OnEditUndo();
    EXPECT_EQ(f.dlg->GetTransformers().GetSize(), 1);
}

TEST(SpreadsheetClipboard, CopyAndCutPutTheRowsOutAsASpreadsheetsText)
{
    DialogFixture f;
    f.AddTransformer(L"T1");
    f.AddCircuit(L"M1", L"L1,N", L"10");
    f.AddCircuit(L"M\t2", L"", L"20");
    f.Own(1, {L"T1"});
    f.SelectRows(GridId::Load, 1, 2);
    f.dlg->OnCopyRows(GridId::Load);
    const Rows rows = ParseTabText(f.ui.clipboard);
    ASSERT_EQ(rows.size(), 2u);
    ASSERT_EQ(rows[0].size(), 17u);
    for (int c = 1; c <= 17; ++c) {
        EXPECT_EQ(rows[0][static_cast<size_t>(c - 1)], f.Load().GetItemText(1, c));
        EXPECT_EQ(rows[1][static_cast<size_t>(c - 1)], f.Load().GetItemText(2, c));
    }
    EXPECT_EQ(rows[1][2], L"M\t2");

    // Ctrl+V of that same text on the entry row is the row paste: the copies
    // keep their owners and computed texts.
    PasteAt(f, GridId::Load, 3, f.ui.clipboard);
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 4);
    EXPECT_EQ(f.dlg->GetLoads()[2], f.dlg->GetLoads()[0]);

    // Ctrl+X through the context menu also writes the text.
    f.SelectRows(GridId::Transformer, 1, 1);
    f.PickFromMenu(GridId::Transformer, 1, 1, res::ID_TRANSFORMER_CUT);
    EXPECT_EQ(ParseTabText(f.ui.clipboard).at(0).size(), 16u);
    EXPECT_EQ(ParseTabText(f.ui.clipboard).at(0).at(0), L"T1");
    EXPECT_TRUE(f.dlg->IsCut(GridId::Transformer));
}

TEST(RowKeys, CtrlVOfTheGridsOwnRowsOnADataRowIsTheRowPaste)
{
    DialogFixture f;
    for (const wchar_t* name : {L"A", L"B", L"C"}) {
        f.AddCircuit(name);
    }
    f.SelectRows(GridId::Load, 1, 1);
    f.dlg->OnCutKey(GridId::Load);
    f.Load().SetFocusCell(3, 2);
    // The text the grid's own Cut put there: the row clipboard's paste
    // runs with its rules.
    f.dlg->OnPasteKey(GridId::Load, f.ui.clipboard);
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 3);
    EXPECT_EQ(f.dlg->GetLoads()[1].m_strEquipName, L"A");
    // 删除 of two rows asks first; No keeps both.
    f.SelectRows(GridId::Load, 2, 3);
    f.ui.boxAnswers = {IDNO};
    f.dlg->OnDeleteRows(GridId::Load);
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 3);
    EXPECT_EQ(f.ui.boxes.back().text, L"删除 2 个回路？");
    f.ui.boxAnswers = {IDYES};
    f.dlg->OnDeleteRows(GridId::Load);
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 1);
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strEquipName, L"B");
}

TEST(NumberCells, FullWidthFiguresAreStoredAsPlainOnesAlsoWhenPasted)
{
    EXPECT_EQ(NormaliseNumberText(L"１２３４５６７８９０"), L"1234567890");
    EXPECT_EQ(NormaliseNumberText(L"－１．５"), L"-1.5");
    EXPECT_EQ(NormaliseNumberText(L"１，５"), L"1,5");
    EXPECT_EQ(NormaliseNumberText(L"０。８"), L"0.8");
    EXPECT_EQ(NormaliseNumberText(L"１.５kW"), L"1.5kW");

    DialogFixture f;
    f.AddCircuit(L"Ｍ１", L"", L"１.５");
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strRatedPower, L"1.5");
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strCalcP, L"1.5");
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strEquipName, L"Ｍ１") << "only number columns";
    f.Type(GridId::Load, 1, 8, L"０。９");
    EXPECT_EQ(f.Load().GetItemText(1, 8), L"0.9");
    f.AddTransformer(L"T1");
    f.Type(GridId::Transformer, 1, 5, L"０．８５");
    EXPECT_EQ(f.dlg->GetTransformers()[0].m_strKp, L"0.85");
    PasteAt(f, GridId::Load, 3, L"Ｐ\tL2,N\t２\r\n");
    EXPECT_EQ(f.dlg->GetLoads()[1].m_strRatedPower, L"2");
}

TEST(NumberCells, ATextThatIsNotWhollyANumberIsMarkedAndKept)
{
    DialogFixture f;
    f.AddCircuit(L"M1", L"", L"abc");
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strRatedPower, L"abc");
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strCalcP, L"0");
    const CGridCell* cell = f.Load().GetCell(1, 5);
    EXPECT_EQ(cell->tip, L"不是数字，按 0 计算");
    EXPECT_EQ(cell->markColour, CLoadCalDiaog::kNotANumberColour);

    f.Type(GridId::Load, 1, 5, L"12abc");
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strCalcP, L"12");
    EXPECT_EQ(f.Load().GetCell(1, 5)->tip, L"只有开头的“12”是数字，按 12 计算");
    f.Type(GridId::Load, 1, 5, L"1e3");
    EXPECT_EQ(f.Load().GetCell(1, 5)->tip, L"");
    EXPECT_EQ(f.Load().GetCell(1, 5)->markColour, CLR_DEFAULT);
    // The name column is not checked; empty cells are not marked.
    EXPECT_EQ(f.Load().GetCell(1, 3)->tip, L"");
    f.Type(GridId::Load, 1, 7, L"");
    EXPECT_EQ(f.Load().GetCell(1, 7)->tip, L"");
    f.AddTransformer(L"T1");
    f.Type(GridId::Transformer, 1, 16, L"x");
    EXPECT_EQ(f.Transformers().GetCell(1, 16)->tip, L"不是数字，按 0 计算");

    // The mark comes back with the record after undo and after opening.
    f.Type(GridId::Load, 1, 6, L"0.38V");
    f.dlg->OnEditUndo();
    f.dlg->OnEditRedo();
    EXPECT_NE(f.Load().GetCell(1, 6)->tip, L"");
    f.SaveAsIn("marks.LDC");
    f.Open();
    EXPECT_EQ(f.Load().GetCell(1, 6)->tip, L"只有开头的“0.38”是数字，按 0.38 计算");
}

TEST(NumberCells, TheTipSaysWhatTheArithmeticReads)
{
    std::mt19937 random(11);
    const wchar_t alphabet[] = L"0123456789.-+eExXabinf ,";
    for (int round = 0; round < 3000; ++round) {
        std::wstring text;
        const size_t length = random() % 8;
        for (size_t k = 0; k < length; ++k) {
            text += alphabet[random() % (sizeof(alphabet) / sizeof(wchar_t) - 1)];
        }
        const std::wstring tip = NumberCellTip(text);
        const double value = ParseNumber(text);
        if (tip.empty()) {
            continue;
        }
        if (tip == L"不是数字，按 0 计算") {
            EXPECT_EQ(value, 0.0) << "text '" << ToUtf8(text) << "'";
            continue;
        }
        const size_t open = tip.find(L"“");
        const size_t close = tip.find(L"”");
        ASSERT_NE(open, std::wstring::npos);
        const std::wstring prefix = tip.substr(open + 1, close - open - 1);
        EXPECT_EQ(Trim(text).rfind(prefix, 0), 0u);
        const double read = ParseNumber(prefix);
        EXPECT_TRUE(read == value || (std::isnan(read) && std::isnan(value)))
            << "text '" << ToUtf8(text) << "'";
    }
}
