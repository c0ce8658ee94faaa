// The load-type cells' editors and the 负荷类型库 window on Qt's offscreen
// platform: typing into a 负荷类型 cell filters the library's list; the
// 负荷类型库 window refuses bad input with a box and stays open, writes the
// user library on 确定 and asks before dropping changes.
#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QCompleter>
#include <QFileInfo>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest>

#include "dialog/LoadCalResources.h"
#include "dialog/qt/GridView.h"
#include "dialog/qt/LoadCalWindow.h"
#include "dialog/qt/LoadTypeDialog.h"
#include "dialog/qt/QtText.h"
#include "tests/dialog_qt/WindowFixture.h"

using namespace loadcal;
using loadcal::test::Click;

class LoadTypeWindowTest : public QObject, private loadcal::test::WindowFixture {
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void typingIntoATypeCellFiltersTheLibrarysList();
    void theLibraryWindowRefusesBadInputAndWritesOnOk();
    void cancellingWithChangesAsksFirst();

private:
    /// Opens the in-place editor of a cell of view and returns it.
    static QWidget* OpenEditor(CGridView& view, int gridRow, int gridCol);
    /// Types text into a cell of view through its line editor and ends with Enter.
    static void Type(CGridView& view, int gridRow, int gridCol, const QString& text);
    void RunLibraryCommand();
};

namespace {

/// Key clicks carrying any text (QTest::keyClicks takes ASCII only).
void TypeText(QWidget* widget, const QString& text)
{
    for (const QChar c : text) {
        QTest::sendKeyEvent(QTest::Click, widget, Qt::Key_unknown, QString(c), Qt::NoModifier);
    }
}

}  // namespace

void LoadTypeWindowTest::init()
{
    QVERIFY(OpenWindow());
}

void LoadTypeWindowTest::cleanup()
{
    CloseWindow();
}

QWidget* LoadTypeWindowTest::OpenEditor(CGridView& view, int gridRow, int gridCol)
{
    view.setFocus();
    view.setCurrentIndex(view.GridModel().IndexOfCell(gridRow, gridCol));
    view.EditCell(view.currentIndex());
    return view.indexWidget(view.currentIndex());
}

void LoadTypeWindowTest::Type(CGridView& view, int gridRow, int gridCol, const QString& text)
{
    QWidget* editor = OpenEditor(view, gridRow, gridCol);
    auto* line = qobject_cast<QLineEdit*>(editor);
    QVERIFY(line);
    TypeText(line, text);
    QTest::keyClick(line, Qt::Key_Return);
    QTRY_VERIFY(!view.IsEditing());
}

void LoadTypeWindowTest::RunLibraryCommand()
{
    QMenu& functions = *m_window->MenuBar().actions().at(2)->menu();
    emit functions.aboutToShow();
    for (QAction* action : functions.actions()) {
        if (action->data().toUInt() == res::ID_LOAD_TYPE_LIBRARY) {
            action->trigger();
            return;
        }
    }
    QFAIL("no 负荷类型库 in the 功能 menu");
}

void LoadTypeWindowTest::typingIntoATypeCellFiltersTheLibrarysList()
{
    Type(LoadView(), 1, 3, QStringLiteral("M1"));
    QWidget* editor = OpenEditor(LoadView(), 1, 14);
    auto* combo = qobject_cast<QComboBox*>(editor);
    QVERIFY(combo);
    QVERIFY(combo->isEditable());
    QCOMPARE(combo->count(), static_cast<int>(m_dialog->GetLoadTypes().Types().size()) + 1);
    TypeText(combo->lineEdit(), QStringLiteral("梯"));
    // The lifts, and only they, hold the text.
    QTRY_COMPARE(combo->completer()->completionCount(), 2);
    QAbstractItemModel* completions = combo->completer()->completionModel();
    QStringList shown;
    for (int i = 0; i < completions->rowCount(); ++i) {
        shown.append(completions->index(i, 0).data().toString());
    }
    QCOMPARE(shown, (QStringList{QStringLiteral("电梯"), QStringLiteral("直流电梯")}));
    // ↓ picks the first, Enter takes it and ends the edit.
    QAbstractItemView* list = combo->completer()->popup();
    QTRY_VERIFY(list->isVisible());
    QTest::keyClick(list, Qt::Key_Down);
    QTest::keyClick(list, Qt::Key_Return);
    QTRY_VERIFY(!LoadView().IsEditing());
    QCOMPARE(LoadGrid().GetItemText(1, 14), std::wstring(L"电梯"));
    QCOMPARE(LoadGrid().GetItemText(1, 7), std::wstring(L"0.2"));
    QCOMPARE(LoadGrid().GetItemText(1, 8), std::wstring(L"0.5"));

    // A name the library lacks is kept as typed, and the load class takes
    // its list only.
    combo = qobject_cast<QComboBox*>(OpenEditor(LoadView(), 1, 14));
    QVERIFY(combo);
    combo->hidePopup();  // opened without a key, its list dropped down
    combo->lineEdit()->selectAll();
    TypeText(combo->lineEdit(), QStringLiteral("实验设备"));
    QTest::keyClick(combo->lineEdit(), Qt::Key_Return);
    QTRY_VERIFY(!LoadView().IsEditing());
    QCOMPARE(LoadGrid().GetItemText(1, 14), std::wstring(L"实验设备"));
    QCOMPARE(LoadGrid().GetItemText(1, 7), std::wstring(L"0.2"));
    auto* classes = qobject_cast<QComboBox*>(OpenEditor(LoadView(), 1, 16));
    QVERIFY(classes);
    QVERIFY(!classes->isEditable());
    QCOMPARE(classes->count(), 5);
    QCOMPARE(classes->itemText(2), QStringLiteral("一级"));
}

void LoadTypeWindowTest::theLibraryWindowRefusesBadInputAndWritesOnOk()
{
    bool stayedOpen = false;
    bool shipped = false;
    m_runner->answers.push_back([&](QDialog& dialog) {
        auto& library = dynamic_cast<CLoadTypeLibraryDialog&>(dialog);
        library.show();
        library.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&library));
        CGridView& view = library.View();
        // The shipped types are there, read-only.
        const int lift = 3 + 10;  // below the entry row and the separator
        shipped = !view.GridModel().IndexOfCell(lift, 1).flags().testFlag(Qt::ItemIsEditable);
        Type(view, 1, 1, QStringLiteral("实验室设备"));
        Type(view, 1, 3, QStringLiteral("1.5"));
        m_runner->answers.push_back(Click(QMessageBox::Ok));
        library.OkButton().click();
        stayedOpen = library.result() != QDialog::Accepted;
        Type(view, 1, 3, QStringLiteral("0.6"));
        Type(view, 1, 5, QStringLiteral("0.85"));
        library.OkButton().click();
        library.hide();
    });
    RunLibraryCommand();
    QVERIFY(shipped);
    QVERIFY(stayedOpen);
    QCOMPARE(m_runner->boxes.size(), size_t{1});
    QVERIFY(m_runner->boxes[0].text.contains(QStringLiteral("第 1 行：Kx 1.5 不在 (0, 1] 之内")));
    QVERIFY(QFileInfo::exists(ToQString(m_dialog->GetUserLoadTypesPath())));
    const CLoadType* lab = m_dialog->GetLoadTypes().Find(L"实验室设备");
    QVERIFY(lab);
    QCOMPARE(lab->kx, 0.6);
    QCOMPARE(*lab->cos, 0.85);
}

void LoadTypeWindowTest::cancellingWithChangesAsksFirst()
{
    int questions = 0;
    m_runner->answers.push_back([&](QDialog& dialog) {
        auto& library = dynamic_cast<CLoadTypeLibraryDialog&>(dialog);
        library.show();
        library.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&library));
        // Unchanged, 取消 asks nothing.
        library.CancelButton().click();
        questions += m_runner->boxes.size() == 0 ? 0 : 1;
        library.setResult(-1);
        library.show();
        library.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&library));
        Type(library.View(), 1, 1, QStringLiteral("临时"));
        Type(library.View(), 1, 3, QStringLiteral("0.5"));
        // 否 keeps the window and the change; 是 lets it go.
        m_runner->answers.push_back(Click(QMessageBox::No));
        QTest::keyClick(&library.View(), Qt::Key_Escape);
        QCOMPARE(library.result(), -1);
        m_runner->answers.push_back(Click(QMessageBox::Yes));
        library.CancelButton().click();
        library.hide();
    });
    RunLibraryCommand();
    QCOMPARE(questions, 0);
    QCOMPARE(m_runner->boxes.size(), size_t{2});
    QCOMPARE(m_runner->boxes[0].text, QStringLiteral("放弃对负荷类型库的修改？"));
    QVERIFY(!QFileInfo::exists(ToQString(m_dialog->GetUserLoadTypesPath())));
    QVERIFY(m_dialog->GetLoadTypes().Find(L"临时") == nullptr);
}

QTEST_MAIN(LoadTypeWindowTest)
#include "test_load_type_window.moc"
