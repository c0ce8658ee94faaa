// What the window adds to the supply tree, the 工程信息 dialog and the status
// bar, on Qt's offscreen platform: the tree widget holds the controller's
// tree and a change of its current item filters the load grid; the 工程信息
// dialog shows the document's properties and hands back what it shows.
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTreeWidget>
#include <QtTest>

#include "dialog/LoadCalResources.h"
#include "dialog/LoadCalTexts.h"
#include "dialog/qt/GridModel.h"
#include "dialog/qt/LoadCalWindow.h"
#include "dialog/qt/ProjectInfoDialog.h"
#include "dialog/qt/QtText.h"
#include "tests/dialog_qt/WindowFixture.h"

using namespace loadcal;
using loadcal::test::ChooseFile;

class SupplyWindowTest : public QObject, private loadcal::test::WindowFixture {
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void theTreeWidgetFiltersTheLoadGrid();
    void projectInformationAndRulesGoThroughTheDialog();

private:
    void Open(const char* example);
    void RunCommand(unsigned id);
};

void SupplyWindowTest::init()
{
    QVERIFY(OpenWindow());
}

void SupplyWindowTest::cleanup()
{
    CloseWindow();
}

void SupplyWindowTest::Open(const char* example)
{
    const QString path = QStringLiteral(LOADCAL_SOURCE_DIR "/examples/") + example;
    m_runner->answers.push_back(ChooseFile(path));
    QMenu& file = *m_window->MenuBar().actions().at(0)->menu();
    emit file.aboutToShow();
    file.actions().at(1)->trigger();  // 打开(&O)...
    QCOMPARE(m_dialog->GetFilePath(), ToWString(path));
}

void SupplyWindowTest::RunCommand(unsigned id)
{
    QMenu& functions = *m_window->MenuBar().actions().at(2)->menu();
    emit functions.aboutToShow();
    for (QAction* action : functions.actions()) {
        if (action->data().toUInt() == id) {
            action->trigger();
            return;
        }
    }
    QFAIL("no such command in the 功能 menu");
}

void SupplyWindowTest::theTreeWidgetFiltersTheLoadGrid()
{
    Open("office-building-boards.LDC");
    QTreeWidget& tree = m_window->SupplyTree();
    const std::vector<CSupplyNode>& nodes = m_dialog->GetSupplyTree().Nodes();
    // One item per node, under its parent, with its name.
    int items = 0;
    for (QTreeWidgetItemIterator it(&tree); *it != nullptr; ++it) {
        ++items;
    }
    QCOMPARE(items, static_cast<int>(nodes.size()));
    for (size_t n = 1; n < nodes.size(); ++n) {
        QTreeWidgetItem* item = m_window->SupplyItem(static_cast<int>(n));
        QVERIFY(item != nullptr);
        QCOMPARE(item->parent(), m_window->SupplyItem(nodes[n].parent));
        if (nodes[n].kind == SupplyNodeKind::Board) {
            QCOMPARE(item->text(0), ToQString(nodes[n].name));
        }
    }
    QCOMPARE(tree.currentItem(), m_window->SupplyItem(0));

    // The floor board 1AL: its one circuit, the entry row, the separator and
    // the total row; the status bar says so.
    const int node = m_dialog->GetSupplyTree().Find({SupplyNodeKind::Board, L"1AL"});
    QVERIFY(node > 0);
    tree.setCurrentItem(m_window->SupplyItem(node));
    QCOMPARE(m_dialog->GetSupplyFilter().name, std::wstring(L"1AL"));
    QCOMPARE(LoadView().GridModel().rowCount(), 4);
    QCOMPARE(LoadView().GridModel().index(0, 0).data().toString(), QStringLiteral("WL1"));
    QVERIFY(m_window->StatusNote().text().contains(QStringLiteral("配电箱 1AL")));
    // The arrow keys go on to the next board.
    tree.setFocus();
    QTest::keyClick(&tree, Qt::Key_Down);
    QCOMPARE(m_dialog->GetSupplyFilter().name, std::wstring(L"2AL"));
    QCOMPARE(LoadView().GridModel().index(0, 0).data().toString(), QStringLiteral("WL2"));

    // A new board typed into the board grid: the tree holds it at once,
    // under 未接电源, and the board shown stays current.
    const int boards = m_dialog->GetBoards().GetSize();
    m_dialog->OnEndEdit(GridId::Board, boards + 1, 1, L"9AL");
    const int added = m_dialog->GetSupplyTree().Find({SupplyNodeKind::Board, L"9AL"});
    QVERIFY(added > 0);
    QCOMPARE(m_window->SupplyItem(added)->parent()->text(0), ToQString(texts::kTreeUnfed));
    QCOMPARE(tree.currentItem()->text(0), QStringLiteral("2AL"));

    tree.setCurrentItem(m_window->SupplyItem(0));
    QCOMPARE(LoadView().GridModel().rowCount(), m_dialog->GetLoads().GetSize() + 3);
    QCOMPARE(m_window->StatusNote().text(), ToQString(texts::kRulesNoteGB51348));
}

void SupplyWindowTest::projectInformationAndRulesGoThroughTheDialog()
{
    Open("office-building.LDC");
    const std::wstring compensation = m_dialog->GetTransformers()[0].m_strCompCapacity;
    QVERIFY(m_window->StatusNote().text().isEmpty());
    bool shown = false;
    m_runner->answers.push_back([&shown](QDialog& box) {
        auto* dialog = qobject_cast<CProjectInfoDialog*>(&box);
        QVERIFY(dialog != nullptr);
        QCOMPARE(dialog->windowTitle(), QStringLiteral("工程信息"));
        QCOMPARE(dialog->Field(CProjectInfo::kName).text(),
                 QStringLiteral("滨江科技园 8 号办公楼"));
        QCOMPARE(dialog->Field(CProjectInfo::kApprover).text(), QStringLiteral("赵军"));
        QCOMPARE(dialog->Rules().currentIndex(), 0);
        QCOMPARE(dialog->Rules().itemText(1), ToQString(texts::kRulesGB51348Text));
        dialog->Field(CProjectInfo::kRevision).setText(QStringLiteral("B"));
        dialog->Rules().setCurrentIndex(1);
        dialog->OkButton().click();
        shown = true;
    });
    RunCommand(res::ID_PROJECT_INFO);
    QVERIFY(shown);
    QCOMPARE(m_dialog->GetDocument().project.FieldAt(CProjectInfo::kRevision), std::wstring(L"B"));
    QCOMPARE(m_dialog->GetDocument().rules, CalcRules::GB51348_2019);
    QCOMPARE(m_window->StatusNote().text(), ToQString(texts::kRulesNoteGB51348));
    const std::wstring now = m_dialog->GetTransformers()[0].m_strCompCapacity;
    QVERIFY(now != compensation);
    const int column = GridColumnOfField(GridId::Transformer, CTransformerCalData::kCompCapacity);
    QCOMPARE(m_window->View(GridId::Transformer).GridModel().index(0, column - 1).data().toString(),
             ToQString(now));
    QVERIFY(m_window->isWindowModified());

    // 取消 hands nothing back.
    m_runner->answers.push_back([](QDialog& box) {
        auto* dialog = qobject_cast<CProjectInfoDialog*>(&box);
        QVERIFY(dialog != nullptr);
        QCOMPARE(dialog->Rules().currentIndex(), 1);
        dialog->Rules().setCurrentIndex(0);
        dialog->CancelButton().click();
    });
    RunCommand(res::ID_PROJECT_INFO);
    QCOMPARE(m_dialog->GetDocument().rules, CalcRules::GB51348_2019);
}

QTEST_MAIN(SupplyWindowTest)
#include "test_supply_window.moc"
