// The window's undo keys and 编辑 menu, the row keys, the system clipboard
// and the marking of number cells, on Qt's offscreen platform.
#include <QApplication>
#include <QClipboard>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QTemporaryDir>
#include <QtTest>
#include <memory>

#include "dialog/LoadCalResources.h"
#include "dialog/TabText.h"
#include "dialog/qt/GridView.h"
#include "dialog/qt/LoadCalWindow.h"
#include "dialog/qt/QtText.h"
#include "tests/dialog_qt/WindowFixture.h"

using namespace loadcal;
using loadcal::test::Click;
using loadcal::test::ScriptedRunner;

/// Each test opens a fresh window over a fresh controller.
class EditKeysTest : public QObject, private loadcal::test::WindowFixture {
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void ctrlZUndoesAndCtrlYAndCtrlShiftZRedo();
    void anOpenEditorKeepsItsOwnKeys();
    void theEditMenuIsGreyedUntilThereIsSomethingToUndo();
    void rowKeysCutCopyPasteAndDeleteSelectedRows();
    void spreadsheetTextOnTheClipboardPastesOnTheEntryRow();
    void aCellThatIsNotANumberIsColouredAndExplained();

private:
    /// Types into a cell through the view and ends the edit with Enter.
    void Type(int gridRow, int gridCol, const QString& text);
    void Keys(QKeySequence keys);
    void SelectRows(int first, int last);
    QMenu& EditMenu() const { return *m_window->MenuBar().actions().at(1)->menu(); }
};

void EditKeysTest::init()
{
    QVERIFY(OpenWindow());
    LoadView().setFocus();
}

void EditKeysTest::cleanup()
{
    CloseWindow();
}

void EditKeysTest::Type(int gridRow, int gridCol, const QString& text)
{
    CGridView& view = LoadView();
    view.setFocus();
    view.setCurrentIndex(view.GridModel().IndexOfCell(gridRow, gridCol));
    view.EditCell(view.currentIndex());
    auto* editor = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    QVERIFY(editor);
    QTest::keyClicks(editor, text);
    QTest::keyClick(editor, Qt::Key_Return);
    QTRY_VERIFY(!view.IsEditing());
}

void EditKeysTest::Keys(QKeySequence keys)
{
    QWidget* target = QApplication::focusWidget();
    QVERIFY(target);
    QTest::keySequence(target, keys);
}

void EditKeysTest::SelectRows(int first, int last)
{
    LoadView().setFocus();
    WindowFixture::SelectRows(LoadView(), first, last);
}

void EditKeysTest::ctrlZUndoesAndCtrlYAndCtrlShiftZRedo()
{
    Type(1, 3, QStringLiteral("Pump"));
    Type(1, 5, QStringLiteral("10"));
    QCOMPARE(m_dialog->GetLoads()[0].m_strCalcP, std::wstring(L"10"));
    const QAbstractItemModel& model = *LoadView().model();

    Keys(QKeySequence(Qt::CTRL | Qt::Key_Z));
    QCOMPARE(m_dialog->GetLoads()[0].m_strRatedPower, std::wstring());
    QCOMPARE(model.index(0, 8).data().toString(), QString());  // not calculated before
    Keys(QKeySequence(Qt::CTRL | Qt::Key_Z));
    QCOMPARE(m_dialog->GetLoads().GetSize(), 0);
    QCOMPARE(model.rowCount(), 3);
    QVERIFY(!m_dialog->IsModified());
    Keys(QKeySequence(Qt::CTRL | Qt::Key_Z));  // nothing left: nothing happens
    QCOMPARE(model.rowCount(), 3);

    Keys(QKeySequence(Qt::CTRL | Qt::Key_Y));
    QCOMPARE(model.rowCount(), 4);
    QCOMPARE(model.index(0, 2).data().toString(), QStringLiteral("Pump"));
    Keys(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z));
    QCOMPARE(model.index(0, 8).data().toString(), QStringLiteral("10"));
    QVERIFY(m_dialog->IsModified());
}

void EditKeysTest::anOpenEditorKeepsItsOwnKeys()
{
    Type(1, 3, QStringLiteral("Pump"));
    CGridView& view = LoadView();
    view.setCurrentIndex(view.GridModel().IndexOfCell(1, 3));
    view.EditCell(view.currentIndex());
    auto* editor = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    QVERIFY(editor);
    editor->selectAll();
    QTest::keyClicks(editor, QStringLiteral("Fan"));
    // Ctrl+Z undoes the typing in the editor, not the document.
    QTest::keySequence(editor, QKeySequence(Qt::CTRL | Qt::Key_Z));
    QCOMPARE(m_dialog->GetLoads().GetSize(), 1);
    QVERIFY(m_dialog->CanUndo());
    // Ctrl+C / Ctrl+V / Delete act on the editor's text, not on rows.
    QApplication::clipboard()->setText(QStringLiteral("X\tY"));
    editor->setText(QStringLiteral("ab"));
    editor->selectAll();
    QTest::keySequence(editor, QKeySequence(Qt::CTRL | Qt::Key_C));
    QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("ab"));
    QTest::keyClick(editor, Qt::Key_Delete);
    QCOMPARE(editor->text(), QString());
    QTest::keySequence(editor, QKeySequence(Qt::CTRL | Qt::Key_V));
    QCOMPARE(editor->text(), QStringLiteral("ab"));
    QTest::keyClick(editor, Qt::Key_Return);
    QTRY_VERIFY(!view.IsEditing());
    QCOMPARE(m_dialog->GetLoads().GetSize(), 1);
    QCOMPARE(m_dialog->GetLoads()[0].m_strEquipName, std::wstring(L"ab"));
}

void EditKeysTest::theEditMenuIsGreyedUntilThereIsSomethingToUndo()
{
    QMenu& edit = EditMenu();
    emit edit.aboutToShow();
    QCOMPARE(edit.actions().size(), 2);
    QCOMPARE(edit.actions()[0]->text(), QStringLiteral("撤销(&U)\tCtrl+Z"));
    QCOMPARE(edit.actions()[1]->text(), QStringLiteral("重做(&R)\tCtrl+Y"));
    QVERIFY(!edit.actions()[0]->isEnabled());
    QVERIFY(!edit.actions()[1]->isEnabled());

    Type(1, 3, QStringLiteral("Pump"));
    emit edit.aboutToShow();
    QVERIFY(edit.actions()[0]->isEnabled());
    QVERIFY(!edit.actions()[1]->isEnabled());
    edit.actions()[0]->trigger();
    QCOMPARE(m_dialog->GetLoads().GetSize(), 0);
    emit edit.aboutToShow();
    QVERIFY(!edit.actions()[0]->isEnabled());
    QVERIFY(edit.actions()[1]->isEnabled());
    edit.actions()[1]->trigger();
    QCOMPARE(m_dialog->GetLoads().GetSize(), 1);
}

void EditKeysTest::rowKeysCutCopyPasteAndDeleteSelectedRows()
{
    for (const QString& name : {QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("C")}) {
        Type(m_dialog->GetLoads().GetSize() + 1, 3, name);
    }
    SelectRows(1, 2);
    Keys(QKeySequence(Qt::CTRL | Qt::Key_C));
    const CTabRows copied = ParseTabText(ToWString(QApplication::clipboard()->text()));
    QCOMPARE(copied.size(), size_t{2});
    QCOMPARE(copied[1].size(), size_t{17});
    QCOMPARE(copied[1][2], std::wstring(L"B"));

    // Ctrl+X marks row 3; Ctrl+V on row 2 moves it there.
    SelectRows(3, 3);
    Keys(QKeySequence(Qt::CTRL | Qt::Key_X));
    QVERIFY(m_dialog->IsCut(GridId::Load));
    QCOMPARE(ParseTabText(ToWString(QApplication::clipboard()->text())).at(0).at(2),
             std::wstring(L"C"));
    SelectRows(2, 2);
    Keys(QKeySequence(Qt::CTRL | Qt::Key_V));
    QCOMPARE(m_dialog->GetLoads()[1].m_strEquipName, std::wstring(L"C"));
    QCOMPARE(m_dialog->GetLoads().GetSize(), 3);

    // 删除 of the row menu and Delete on two whole rows both ask first
    // ("删除 2 个回路？"); a dismissed box removes nothing.
    SelectRows(2, 3);
    m_dialog->OnDeleteRows(GridId::Load);
    QCOMPARE(m_dialog->GetLoads().GetSize(), 3);
    QCOMPARE(m_runner->boxes.size(), size_t{1});
    QCOMPARE(m_runner->boxes[0].text, QStringLiteral("删除 2 个回路？"));
    Keys(QKeySequence(Qt::Key_Delete));
    QCOMPARE(m_dialog->GetLoads().GetSize(), 3);
    QCOMPARE(m_runner->boxes.size(), size_t{2});
    QCOMPARE(m_runner->boxes[1].text, QStringLiteral("删除 2 个回路？"));
    QCOMPARE(m_dialog->GetLoads()[1].m_strEquipName, std::wstring(L"C"));

    // Answered Yes, Delete on the whole rows clears every key cell, so both
    // circuits go, as one undo step.
    m_runner->answers.push_back(Click(QMessageBox::Yes));
    Keys(QKeySequence(Qt::Key_Delete));
    QCOMPARE(m_dialog->GetLoads().GetSize(), 1);
    QCOMPARE(LoadView().model()->rowCount(), 4);
    Keys(QKeySequence(Qt::CTRL | Qt::Key_Z));
    QCOMPARE(m_dialog->GetLoads().GetSize(), 3);
    QCOMPARE(m_dialog->GetLoads()[1].m_strEquipName, std::wstring(L"C"));

    // Delete on one cell clears that cell only, without a question; the
    // circuit stays while another key cell holds its power.
    Type(2, 5, QStringLiteral("7.5"));
    CGridView& view = LoadView();
    view.setFocus();
    view.setCurrentIndex(view.GridModel().IndexOfCell(2, 3));
    Keys(QKeySequence(Qt::Key_Delete));
    QCOMPARE(m_runner->boxes.size(), size_t{3});
    QCOMPARE(m_dialog->GetLoads().GetSize(), 3);
    QCOMPARE(m_dialog->GetLoads()[1].m_strEquipName, std::wstring());
    Keys(QKeySequence(Qt::CTRL | Qt::Key_Z));
    QCOMPARE(m_dialog->GetLoads()[1].m_strEquipName, std::wstring(L"C"));
}

void EditKeysTest::spreadsheetTextOnTheClipboardPastesOnTheEntryRow()
{
    QApplication::clipboard()->setText(QStringLiteral("风机\tL2,N\t7.5\r\n水泵\t\t15\r\n"));
    CGridView& view = LoadView();
    view.setFocus();
    view.setCurrentIndex(view.GridModel().IndexOfCell(1, 3));
    Keys(QKeySequence(Qt::CTRL | Qt::Key_V));
    QCOMPARE(m_dialog->GetLoads().GetSize(), 2);
    QCOMPARE(m_dialog->GetLoads()[0].m_strPhase, std::wstring(L"L2,N"));
    QCOMPARE(m_dialog->GetLoads()[0].m_strVoltage, std::wstring(L"0.22"));
    QCOMPARE(m_dialog->GetLoads()[1].m_strCalcP, std::wstring(L"15"));
    QCOMPARE(view.model()->index(1, 2).data().toString(), QStringLiteral("水泵"));
    QCOMPARE(view.model()->rowCount(), 5);
    Keys(QKeySequence(Qt::CTRL | Qt::Key_Z));
    QCOMPARE(m_dialog->GetLoads().GetSize(), 0);
}

void EditKeysTest::aCellThatIsNotANumberIsColouredAndExplained()
{
    Type(1, 5, QStringLiteral("abc"));
    const QModelIndex cell = LoadView().GridModel().IndexOfCell(1, 5);
    QCOMPARE(cell.data().toString(), QStringLiteral("abc"));
    QCOMPARE(cell.data(Qt::ToolTipRole).toString(), QStringLiteral("不是数字，按 0 计算"));
    QCOMPARE(cell.data(Qt::BackgroundRole).value<QBrush>().color(), QColor(255, 190, 190));
    Type(1, 5, QStringLiteral("12"));
    QCOMPARE(cell.data(Qt::ToolTipRole), QVariant());
    QCOMPARE(cell.data(Qt::BackgroundRole), QVariant());
}

QTEST_MAIN(EditKeysTest)
#include "test_edit_keys.moc"
