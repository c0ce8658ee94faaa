// The calculation window over the controller, driven as a user drives it:
// typing and picking in the grids, the choice list, menus, toolbar, keys,
// the close box and resizing.
#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QScrollBar>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QToolBar>
#include <QtTest>
#include <memory>

#include "dialog/LoadCalResources.h"
#include "dialog/WindowLayout.h"
#include "dialog/qt/AboutBox.h"
#include "dialog/qt/ChoicePopup.h"
#include "dialog/qt/GridView.h"
#include "dialog/qt/LoadCalWindow.h"
#include "dialog/qt/QtOutput.h"
#include "dialog/qt/QtSession.h"
#include "dialog/qt/QtText.h"
#include "dialog/qt/TotalRowView.h"
#include "document/AtomicFile.h"
#include "tests/dialog_qt/ScriptedRunner.h"
#include "tests/dialog_qt/WindowFixture.h"
#include "tests/support/FaultInjection.h"

using namespace loadcal;
using loadcal::test::ChooseFile;
using loadcal::test::Click;
using loadcal::test::ScriptedRunner;

namespace {

/// Text, command id and enabled state of one menu item; separators are "-".
struct MenuLine {
    QString text;
    unsigned id = 0;
    bool enabled = true;
    friend bool operator==(const MenuLine&, const MenuLine&) = default;
};

QList<MenuLine> LinesOf(const QMenu& menu)
{
    QList<MenuLine> lines;
    for (const QAction* action : menu.actions()) {
        if (action->isSeparator()) {
            lines.append({QStringLiteral("-"), 0, true});
        } else {
            lines.append({action->text(), action->data().toUInt(), action->isEnabled()});
        }
    }
    return lines;
}

/// How QCOMPARE prints a menu line.
char* toString(const MenuLine& line)
{
    const QString text = QStringLiteral("%1 = %2%3")
                             .arg(line.text)
                             .arg(line.id)
                             .arg(line.enabled ? QString() : QStringLiteral(" (grey)"));
    return qstrdup(text.toUtf8().constData());
}

}  // namespace

/// Each test opens a fresh window over a fresh controller (settings in a
/// temporary folder) with a scripted answerer for its boxes.
class WindowTest : public QObject, private loadcal::test::WindowFixture {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void typingIntoTheEntryRowCreatesACircuitAndANewEntryRow();
    void pickingL2NInThePhaseListSetsTheVoltageTo022();
    void markingTwoTransformersInTheChoiceListStoresBothNames();
    void theMenusCarryTheirTextsAndCommandIds();
    void theToolbarHasItsButtonsAndToolTips();
    void closingAModifiedDocumentAsksTheSaveQuestion();
    void theWindowCannotBeMadeSmallerThanItOpened();
    void anExceptionOfARowCommandIsReportedAndTheDocumentStays();
    void phaseBalancingShowsItsProgressInTheTitle();
    void anOutputFileIsProposedFromTheArchiveName();
    void theCalculationBookButtonWritesThePdfAndTheWindowStaysOpen();
    void keysTypedRightAfterAClickLandInTheClickedCell();
    void enterF2AndEscEditAsASpreadsheetDoes();
    void aCommandSeesTheCellBeingTyped();
    void theLayoutIsKeptInTheSettingsFile();
    void theTotalRowStaysInSightAndFollowsEdits();
    void standardButtonsAndFileDialogsReadInChinese();
    void aFailedSaveIsShownAndTheDocumentStaysModified();
    void aDamagedArchiveIsRefusedAndTheDocumentStays();
    void theRecoveryTimerKeepsACopyOfUnsavedChanges();
    void theLaunchersExitStatusTellsWhetherAFileWasShown();
    void theBasePointIsTypedOverTheZeroOfEachField();
    void theBoardGridStandsBetweenTheOthersAndKeepsItsHeight();
    void aBoardsOwnersArePickedUnderTheTwoHeadings();

private:
    /// Types text into a grid cell through the view and ends the edit with Enter.
    void Type(CGridView& view, int gridRow, int gridCol, const QString& text);
    /// A left click on a grid cell.
    void ClickCell(CGridView& view, int gridRow, int gridCol);
    /// A context-menu request on a grid cell, as a right click makes it.
    void RightClickCell(CGridView& view, int gridRow, int gridCol);
    QMenu& TopMenu(int position) const;
    /// Keys to whatever widget has the focus at each key, with no event
    /// processing in between, as fast typing arrives.
    static void TypeAtOnce(const QString& keys);
    /// A new controller and window over the same settings file.
    void Reopen();
};

void WindowTest::init()
{
    QVERIFY(OpenWindow());
}

void WindowTest::cleanup()
{
    CloseWindow();
}

void WindowTest::Type(CGridView& view, int gridRow, int gridCol, const QString& text)
{
    view.setFocus();
    view.setCurrentIndex(view.GridModel().IndexOfCell(gridRow, gridCol));
    // The first key opens the editor, which receives it and the rest.
    for (QChar c : text) {
        QWidget* target = QApplication::focusWidget();
        QVERIFY(target);
        QTest::keyClick(target, c.toLatin1());
    }
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    QTRY_VERIFY(!view.IsEditing());
}

void WindowTest::ClickCell(CGridView& view, int gridRow, int gridCol)
{
    const QRect cell = view.CellRect(gridRow, gridCol);
    QVERIFY(!cell.isEmpty());
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, cell.center());
}

void WindowTest::RightClickCell(CGridView& view, int gridRow, int gridCol)
{
    const QPoint at = view.CellRect(gridRow, gridCol).center();
    QContextMenuEvent event(QContextMenuEvent::Mouse, at, view.viewport()->mapToGlobal(at));
    QApplication::sendEvent(view.viewport(), &event);
}

QMenu& WindowTest::TopMenu(int position) const
{
    return *m_window->MenuBar().actions().at(position)->menu();
}

void WindowTest::typingIntoTheEntryRowCreatesACircuitAndANewEntryRow()
{
    CGridView& view = LoadView();
    const QAbstractItemModel& model = *view.model();
    QCOMPARE(model.rowCount(), 3);  // entry row, separator, total row

    Type(view, 1, 3, QStringLiteral("Pump"));

    QCOMPARE(m_dialog->GetLoads().GetSize(), 1);
    QCOMPARE(m_dialog->GetLoads()[0].m_strEquipName, std::wstring(L"Pump"));
    QVERIFY(m_dialog->IsModified());
    QVERIFY(m_window->isVisible());  // Enter ended the edit, not the dialog
    // The view shows the circuit and a fresh entry row below it.
    QCOMPARE(model.rowCount(), 4);
    QCOMPARE(model.index(0, 2).data().toString(), QStringLiteral("Pump"));
    QCOMPARE(model.index(1, 2).data().toString(), QString());
    QCOMPARE(model.index(1, 3).data().toString(), QStringLiteral("L1,L2,L3,N"));
    QCOMPARE(model.index(1, 5).data().toString(), QStringLiteral("0.38"));
    QCOMPARE(model.index(1, 6).data().toString(), QStringLiteral("1.0"));
    QCOMPARE(model.index(1, 7).data().toString(), QStringLiteral("0.8"));
    // Computed cells are read-only and yellow, the separator grey; data
    // cells centred on one line, titles centred and wrapped.
    QVERIFY(model.flags(model.index(1, 2)) & Qt::ItemIsEditable);
    QVERIFY(!(model.flags(model.index(1, 9)) & Qt::ItemIsEditable));
    QCOMPARE(model.index(1, 9).data(Qt::BackgroundRole).value<QBrush>().color(),
             QColor(255, 255, 128));
    QCOMPARE(model.index(2, 0).data(Qt::BackgroundRole).value<QBrush>().color(),
             QColor(180, 180, 180));
    QVERIFY(!(model.flags(model.index(2, 0)) & Qt::ItemIsEditable));
    QCOMPARE(model.index(0, 2).data(Qt::TextAlignmentRole).value<Qt::Alignment>(),
             Qt::AlignHCenter | Qt::AlignVCenter);
    QCOMPARE(model.headerData(7, Qt::Horizontal).toString(), QStringLiteral("功率因数(cos(φ))"));
    QVERIFY(
        model.headerData(7, Qt::Horizontal, Qt::TextAlignmentRole).value<Qt::Alignment>().toInt() &
        Qt::TextWordWrap);
    QCOMPARE(view.verticalHeader()->width(), 10);
    QCOMPARE(view.horizontalHeader()->sectionSize(0), LoadGrid().GetColumnWidth(1));
}

void WindowTest::pickingL2NInThePhaseListSetsTheVoltageTo022()
{
    CGridView& view = LoadView();
    Type(view, 1, 3, QStringLiteral("Lamp"));
    QCOMPARE(LoadGrid().GetItemText(1, 6), std::wstring(L"0.38"));

    ClickCell(view, 1, 4);
    QComboBox* combo = nullptr;
    QTRY_VERIFY((combo = view.viewport()->findChild<QComboBox*>()) != nullptr);
    QVERIFY(!combo->isEditable());
    QStringList items;
    for (int i = 0; i < combo->count(); ++i) {
        items.append(combo->itemText(i));
    }
    QCOMPARE(items, (QStringList{"L1,N", "L2,N", "L3,N", "L1,L2,L3,N"}));
    QCOMPARE(combo->currentText(), QStringLiteral("L1,L2,L3,N"));
    QTRY_VERIFY(combo->view()->isVisible());  // the list dropped down by itself

    QAbstractItemView* list = combo->view();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      list->visualRect(list->model()->index(1, 0)).center());

    QTRY_COMPARE(LoadGrid().GetItemText(1, 6), std::wstring(L"0.22"));
    QCOMPARE(m_dialog->GetLoads()[0].m_strPhase, std::wstring(L"L2,N"));
    QCOMPARE(m_dialog->GetLoads()[0].m_strVoltage, std::wstring(L"0.22"));
    QCOMPARE(view.model()->index(0, 5).data().toString(), QStringLiteral("0.22"));
    QTRY_VERIFY(view.viewport()->findChild<QComboBox*>() == nullptr);
}

void WindowTest::markingTwoTransformersInTheChoiceListStoresBothNames()
{
    Type(TransformerView(), 1, 1, QStringLiteral("T1"));
    Type(TransformerView(), 2, 1, QStringLiteral("T2"));
    QCOMPARE(m_dialog->GetTransformers().GetSize(), 2);
    Type(LoadView(), 1, 3, QStringLiteral("Lift"));

    QStringList names;
    QList<bool> marks;
    QRect popupArea;
    m_runner->answers.push_back([&](QDialog& dialog) {
        auto& popup = dynamic_cast<CChoicePopup&>(dialog);
        for (int i = 0; i < popup.List().count(); ++i) {
            names.append(popup.List().item(i)->text());
            marks.append(popup.List().item(i)->checkState() == Qt::Checked);
        }
        popupArea = popup.geometry();
        popup.show();
        QTest::keyClick(&popup.List(), Qt::Key_Space);
        QTest::keyClick(&popup.List(), Qt::Key_Down);
        QTest::keyClick(&popup.List(), Qt::Key_Space);
        QTest::mouseClick(popup.Buttons().button(QDialogButtonBox::Ok), Qt::LeftButton);
    });
    ClickCell(LoadView(), 1, 13);

    QCOMPARE(m_runner->dialogs, 1);
    QCOMPARE(names, (QStringList{"T1", "T2"}));
    QCOMPARE(marks, (QList<bool>{false, false}));
    // Over the cell (moved left as far as the screen's edge demands).
    const QRect cell = LoadView().CellRect(1, 13);
    const QRect cellArea(LoadView().viewport()->mapToGlobal(cell.topLeft()), cell.size());
    QCOMPARE(popupArea.top(), cellArea.top());
    QVERIFY(popupArea.left() <= cellArea.left() && popupArea.right() >= cellArea.right());
    QCOMPARE(m_dialog->GetLoads()[0].m_strTransformer, std::wstring(L"T1,T2"));
    QCOMPARE(LoadView().model()->index(0, 12).data().toString(), QStringLiteral("T1,T2"));
}

void WindowTest::theMenusCarryTheirTextsAndCommandIds()
{
    QList<QString> titles;
    for (const QAction* action : m_window->MenuBar().actions()) {
        titles.append(action->text());
    }
    QCOMPARE(titles, (QList<QString>{"文件(&F)", "编辑(&E)", "功能(&C)", "帮助(&H)"}));

    QMenu& file = TopMenu(0);
    emit file.aboutToShow();
    const MenuLine separator{QStringLiteral("-"), 0, true};
    QList<MenuLine> expected{
        {"新建(&N)\tCtrl+N", 32768},
        {"打开(&O)...\tCtrl+O", 32769},
        {"保存(&S)\tCtrl+S", 32770},
        {"另存为(&A)...", 6342},
        separator,
        {"最近文件", 4000, false},
        separator,
        {"退出(&X)", 6344},
    };
    QCOMPARE(LinesOf(file), expected);

    // Save As through the menu: the archive dialog, then the path is the
    // first recent file when the menu opens again.
    const QString path = m_folder->filePath("a.LDC");
    QStringList filters;
    QString suffix;
    bool asksOverwrite = false;
    m_runner->answers.push_back(ChooseFile(path, [&](QDialog& dialog) {
        auto& files = dynamic_cast<QFileDialog&>(dialog);
        filters = files.nameFilters();
        suffix = files.defaultSuffix();
        asksOverwrite = files.acceptMode() == QFileDialog::AcceptSave &&
                        !files.testOption(QFileDialog::DontConfirmOverwrite);
    }));
    file.actions().at(3)->trigger();
    QCOMPARE(filters, QStringList{"负荷计算存档文件(*.LDC *.ldc)"});
    QCOMPARE(suffix, QStringLiteral("LDC"));
    QVERIFY(asksOverwrite);
    QVERIFY(QFileInfo::exists(path));
    emit file.aboutToShow();
    expected[5] = {QStringLiteral("&1 ") + path, 4000, true};
    QCOMPARE(LinesOf(file), expected);

    QMenu& functions = TopMenu(2);
    emit functions.aboutToShow();
    QCOMPARE(LinesOf(functions), (QList<MenuLine>{{"绘制到Acad(&D)", 32772},
                                                  {"输出到Excell(&E)", 32773},
                                                  {"生成计算书(&B)", 32795},
                                                  separator,
                                                  {"全部重算\tF9", 32796},
                                                  {"负荷类型库(&L)...", 32798},
                                                  {"工程信息(&P)...", 32803}}));

    QMenu& help = TopMenu(3);
    emit help.aboutToShow();
    QCOMPARE(LinesOf(help), (QList<MenuLine>{{"关于...", 32785}}));

    QString caption, version, button;
    bool hasIcon = false;
    m_runner->answers.push_back([&](QDialog& dialog) {
        auto& about = dynamic_cast<CAboutBox&>(dialog);
        caption = about.windowTitle();
        version = about.Version().text();
        button = about.Button().text();
        hasIcon = !about.Icon().pixmap().isNull();
        about.Button().click();
    });
    help.actions().at(0)->trigger();
    QCOMPARE(caption, QStringLiteral("关于负荷计算.."));
    QCOMPARE(version, QStringLiteral("负荷计算  Version 2.00"));
    QCOMPARE(button, QStringLiteral("确认"));
    QVERIFY(hasIcon);
}

void WindowTest::theToolbarHasItsButtonsAndToolTips()
{
    const QList<QAction*> actions = m_window->ToolBar().actions();
    const unsigned ids[] = {32768, 32769, 32770, 6342, 0, 32772, 32773, 32784, 32795, 0, 32785};
    const char* const tips[] = {
        "新建负荷计算数据文件", "打开文件", "保存文件",   "另存文件", nullptr,  "绘制到Acad",
        "输出到Excell",         "调整相位", "生成计算书", nullptr,    "关于..."};
    QCOMPARE(actions.size(), 11);
    for (int i = 0; i < 11; ++i) {
        const QAction* action = actions[i];
        if (ids[i] == 0) {
            QVERIFY2(action->isSeparator(), qPrintable(QString::number(i)));
            continue;
        }
        QCOMPARE(action->data().toUInt(), ids[i]);
        QCOMPARE(action->toolTip(), QString::fromUtf8(tips[i]));
        QVERIFY(action->isEnabled());
        const QIcon icon = action->icon();
        const QImage normal = icon.pixmap(16, QIcon::Normal).toImage();
        const QImage disabled = icon.pixmap(16, QIcon::Disabled).toImage();
        QCOMPARE(normal.size(), QSize(16, 16));
        QVERIFY(normal != disabled);
    }

    // A click on the about button runs its command.
    QWidget* about = m_window->ToolBar().widgetForAction(actions[10]);
    QVERIFY(about);
    QTest::mouseClick(about, Qt::LeftButton);
    QCOMPARE(m_runner->dialogs, 1);
}

void WindowTest::closingAModifiedDocumentAsksTheSaveQuestion()
{
    Type(LoadView(), 1, 3, QStringLiteral("Fan"));
    QVERIFY(m_dialog->IsModified());

    // The close box, answered Cancel: the window stays.
    m_runner->answers.push_back(Click(QMessageBox::Cancel));
    m_window->close();
    QCOMPARE(m_runner->boxes.size(), size_t(1));
    const test::ShownBox box = m_runner->boxes[0];
    QCOMPARE(box.text, QStringLiteral("当前文档已经改变,是否保存？"));
    QCOMPARE(box.title, QStringLiteral("文件保存"));
    QCOMPARE(box.buttons, QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
    QCOMPARE(box.icon, QMessageBox::Question);
    QVERIFY(m_window->isVisible());
    QVERIFY(!m_dialog->GetEndResult());

    // Enter outside an edit does nothing.
    LoadView().setFocus();
    QTest::keyClick(&LoadView(), Qt::Key_Return);
    QCOMPARE(m_runner->boxes.size(), size_t(1));
    QVERIFY(m_window->isVisible());

    // Escape answered No: asked once, the dialog ends.
    m_runner->answers.push_back(Click(QMessageBox::No));
    QTest::keyClick(&LoadView(), Qt::Key_Escape);
    QCOMPARE(m_runner->boxes.size(), size_t(2));
    QCOMPARE(m_runner->boxes[1].text, box.text);
    QVERIFY(!m_window->isVisible());
    QCOMPARE(m_dialog->GetEndResult(), std::optional<int>(IDCANCEL));
}

void WindowTest::theWindowCannotBeMadeSmallerThanItOpened()
{
    const QSize opened = m_window->OpenedSize();
    const CRect client = MapDialogRect(res::kDialogTemplate);
    QCOMPARE(opened.width(), client.Width());
    QVERIFY(opened.height() > client.Height());  // the menu bar comes on top
    // The first start opens wider, to show every load column.
    QCOMPARE(m_window->height(), opened.height());
    QVERIFY(m_window->width() > opened.width());
    QCOMPARE(m_window->minimumSize(), opened);
    QCOMPARE(m_dialog->GetMinTrackWidth(), opened.width());
    QCOMPARE(m_dialog->GetMinTrackHeight(), opened.height());

    m_window->resize(opened - QSize(100, 100));
    QCOMPARE(m_window->size(), opened);

    // Larger: the transformer grid keeps its height 5 pixels above the
    // bottom edge, the load grid takes the rest.
    const int transformerHeight = MapDialogRect(res::kTransformerFrameTemplate).Height();
    const int loadHeight = LoadView().height();
    m_window->resize(opened + QSize(40, 60));
    QTRY_COMPARE(m_window->size(), opened + QSize(40, 60));
    const QRect transformer(TransformerView().mapTo(m_window.get(), QPoint(0, 0)),
                            TransformerView().size());
    QCOMPARE(transformer.height(), transformerHeight);
    QCOMPARE(transformer.bottom() + 1, m_window->height() - 5 - m_window->StatusBar().height());
    QCOMPARE(transformer.right() + 1, m_window->width() - 3);
    QCOMPARE(LoadView().height(), loadHeight + 60);
}

void WindowTest::anExceptionOfARowCommandIsReportedAndTheDocumentStays()
{
    for (const wchar_t* name : {L"A", L"B", L"C", L"D", L"E"}) {
        m_dialog->OnEndEdit(GridId::Load, m_dialog->GetLoads().GetSize() + 1, 3, name);
    }
    CGridView& view = LoadView();
    // The grid's selection and focus cell are the view's...
    LoadGrid().SetSelectedRange(4, 2, 5, 2);
    LoadGrid().SetFocusCell(5, 2);
    const QAbstractItemModel& model = *view.model();
    QCOMPARE(view.selectionModel()->selectedIndexes().size(), 2);
    QVERIFY(view.selectionModel()->isSelected(model.index(3, 1)));
    QVERIFY(view.selectionModel()->isSelected(model.index(4, 1)));
    QCOMPARE(view.currentIndex(), model.index(4, 1));
    // ... and the other way round.
    SelectRows(view, 2, 3);
    QVERIFY(LoadGrid().IsCellSelected(2, 1) && LoadGrid().IsCellSelected(3, 3));
    QVERIFY(!LoadGrid().IsCellSelected(4, 1));
    QCOMPARE(LoadGrid().GetFocusCell(), (CCellID{2, 1}));

    m_runner->menuChoices = {"剪切", "复制", "删除"};
    RightClickCell(view, 2, 1);
    QCOMPARE(m_runner->menus.size(), size_t(1));
    QCOMPARE(m_runner->menus[0], (QStringList{"剪切", "复制", "粘贴", "删除", "插入\tCtrl++"}));
    QVERIFY(m_dialog->IsCut(GridId::Load));
    QCOMPARE(m_dialog->GetCutRows(GridId::Load), (CArray<int>{2, 3}));
    QCOMPARE(view.model()->index(1, 0).data(Qt::ForegroundRole).value<QBrush>().color(),
             QColor(0, 0, 0));

    SelectRows(view, 5, 5);
    RightClickCell(view, 5, 1);
    QCOMPARE(m_dialog->GetLoadClipboard().GetSize(), 1);

    // Copy kept the stale cut list: deleting row 3 runs into an invalid index.
    SelectRows(view, 3, 3);
    RightClickCell(view, 3, 1);
    QCOMPARE(m_runner->boxes.size(), size_t(1));
    QVERIFY(m_runner->boxes[0].text.startsWith(QStringLiteral("Internal error: ")));
    QCOMPARE(m_runner->boxes[0].icon, QMessageBox::Critical);
    QVERIFY(m_window->isVisible());
    QCOMPARE(m_dialog->GetLoads().GetSize(), 5);
    QCOMPARE(m_dialog->GetLoads()[2].m_strEquipName, std::wstring(L"C"));
}

void WindowTest::phaseBalancingShowsItsProgressInTheTitle()
{
    // Four single-phase circuits and a three-phase one on T1: no even split
    // exists, so the search runs all its generations.
    m_dialog->OnEndEdit(GridId::Transformer, 1, 1, L"T1");
    for (int i = 1; i <= 5; ++i) {
        m_dialog->OnEndEdit(GridId::Load, i, 3, L"M" + std::to_wstring(i));
        m_dialog->OnEndEdit(GridId::Load, i, 4, i < 5 ? L"L1,N" : L"L1,L2,L3,N");
        m_dialog->OnEndEdit(GridId::Load, i, 5, i < 5 ? L"1.76" : L"15.79584");
        LoadGrid().SetFocusCell(i, 13);
        m_dialog->OnChoiceReport({L"T1"});
    }
    // The title holds Qt's "[*]" mark of the modified state.
    const QString rawTitle = m_window->windowTitle();
    QVERIFY(rawTitle.endsWith(QStringLiteral("[*]")));
    const QString title = QString(rawTitle).remove(QStringLiteral("[*]"));

    // A timer sees the progress in the title only if it fires while the
    // search runs, that is if the window lets events through as the title
    // changes.
    QStringList titlesSeen;
    QTimer ticker;
    ticker.setInterval(0);
    connect(&ticker, &QTimer::timeout, this, [&] { titlesSeen.append(m_window->windowTitle()); });
    ticker.start();
    m_runner->answers.push_back(Click(QMessageBox::Ok));
    const QList<QAction*> actions = m_window->ToolBar().actions();
    QTest::mouseClick(m_window->ToolBar().widgetForAction(actions[7]), Qt::LeftButton);
    ticker.stop();

    const QString progress = title + QStringLiteral(" 变压器 T1 - 已完成");
    QVERIFY(std::any_of(titlesSeen.begin(), titlesSeen.end(),
                        [&](const QString& seen) { return seen.startsWith(progress); }));
    QCOMPARE(m_window->windowTitle(), rawTitle);
    QCOMPARE(m_runner->boxes.size(), size_t(1));
    QVERIFY(m_runner->boxes[0].text.startsWith(QStringLiteral("变压器T1\nL1,N项电流为: ")));
    QCOMPARE(m_runner->boxes[0].title, QStringLiteral("loadcal"));
}

void WindowTest::theCalculationBookButtonWritesThePdfAndTheWindowStaysOpen()
{
    /// Keeps the files handed to the viewer.
    struct Viewer final : IFileOpener {
        std::vector<std::filesystem::path> opened;
        bool Open(const std::filesystem::path& file) override
        {
            opened.push_back(file);
            return true;
        }
    } viewer;
    CQtCalculationBookWriter writer(true, &viewer);
    m_dialog->SetBookWriter(&writer);
    Type(TransformerView(), 1, 1, QStringLiteral("T1"));
    Type(LoadView(), 1, 3, QStringLiteral("Chiller"));
    const QString path = m_folder->filePath("计算书.pdf");
    QString proposed;
    QStringList filters;
    m_runner->answers.push_back(ChooseFile(path, [&](QDialog& dialog) {
        auto& files = dynamic_cast<QFileDialog&>(dialog);
        proposed = QFileInfo(files.selectedFiles().value(0)).fileName();
        filters = files.nameFilters();
    }));
    const QList<QAction*> actions = m_window->ToolBar().actions();
    QCOMPARE(actions[8]->data().toUInt(), res::ID_CALCULATION_BOOK);
    QTest::mouseClick(m_window->ToolBar().widgetForAction(actions[8]), Qt::LeftButton);

    QCOMPARE(proposed, QStringLiteral("未命名.pdf"));
    QCOMPARE(filters, QStringList{"PDF 计算书(*.pdf *.PDF)"});
    QFile book(path);
    QVERIFY(book.open(QIODevice::ReadOnly));
    QVERIFY(book.read(5) == "%PDF-");
    QCOMPARE(viewer.opened, std::vector<std::filesystem::path>{ToFsPath(ToWString(path))});
    QVERIFY(m_runner->boxes.empty());
    QVERIFY(m_window->isVisible());
    QVERIFY(!m_dialog->GetEndResult().has_value());
    QCOMPARE(m_dialog->GetOutputMode(), 0);
}

void WindowTest::anOutputFileIsProposedFromTheArchiveName()
{
    const QString archive = m_folder->filePath("plant.LDC");
    QCOMPARE(ProposedOutputFile(OutputFileKind::Drawing, ToWString(archive)),
             std::filesystem::path(m_folder->filePath("plant.dxf").toStdString()));

    QStringList proposed, filters;
    QString suffix;
    m_runner->answers.push_back([&](QDialog& dialog) {
        auto& files = dynamic_cast<QFileDialog&>(dialog);
        proposed = files.selectedFiles();
        filters = files.nameFilters();
        suffix = files.defaultSuffix();
        dialog.accept();
    });
    const std::optional<std::filesystem::path> chosen = ChooseOutputFile(
        OutputFileKind::Workbook, ToWString(archive), m_window.get(), m_runner.get());
    QCOMPARE(proposed, QStringList{m_folder->filePath("plant.xlsx")});
    QCOMPARE(filters, QStringList{"Excel 工作簿(*.xlsx *.XLSX)"});
    QCOMPARE(suffix, QStringLiteral("xlsx"));
    QVERIFY(chosen);
    QCOMPARE(*chosen, std::filesystem::path(m_folder->filePath("plant.xlsx").toStdString()));

    // A drawing that exists is replaced only after a Yes (what No and Yes do
    // is checked through FHJS, tests/shell).
    const std::filesystem::path drawing = m_folder->filePath("plant.dxf").toStdString();
    QFile file(m_folder->filePath("plant.dxf"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    m_runner->answers.push_back(Click(QMessageBox::No));
    QVERIFY(!ConfirmReplaceFile(drawing, m_window.get(), m_runner.get()));
    QCOMPARE(m_runner->boxes.size(), size_t(1));
    QCOMPARE(m_runner->boxes[0].text, QStringLiteral("文件 \"") + m_folder->filePath("plant.dxf") +
                                          QStringLiteral("\" 已经存在,是否替换?"));
    QCOMPARE(m_runner->boxes[0].buttons, QMessageBox::Yes | QMessageBox::No);

    // The output layer's messages come in a box with OK.
    CQtMessageSink sink(m_window.get(), m_runner.get());
    sink.ShowMessage(L"不能打开Excel，可能是因为没有安装Excel!");
    QCOMPARE(m_runner->boxes.size(), size_t(2));
    QCOMPARE(m_runner->boxes[1].text, QStringLiteral("不能打开Excel，可能是因为没有安装Excel!"));
    QCOMPARE(m_runner->boxes[1].buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
}

void WindowTest::TypeAtOnce(const QString& keys)
{
    for (QChar c : keys) {
        QWidget* target = QApplication::focusWidget();
        QVERIFY(target);
        QTest::keyClick(target, c.toLatin1());
    }
}

void WindowTest::Reopen()
{
    m_window.reset();
    m_dialog = std::make_unique<CLoadCalDiaog>(ToWString(m_folder->filePath("settings.idp")));
    m_window = std::make_unique<CLoadCalWindow>(*m_dialog, m_runner.get());
    m_window->show();
    m_window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
}

void WindowTest::keysTypedRightAfterAClickLandInTheClickedCell()
{
    Type(TransformerView(), 1, 1, QStringLiteral("1#TR"));
    Type(TransformerView(), 2, 1, QStringLiteral("2#TR"));
    Type(LoadView(), 1, 8, QStringLiteral("0.85"));
    Type(LoadView(), 2, 8, QStringLiteral("0.8"));

    // Transformer 2 is the current cell; the user goes to the load grid and
    // comes back with a click, typing within the same turn of the event
    // loop. A keyboard search would have jumped to "1#TR" with the "1".
    ClickCell(TransformerView(), 2, 1);
    ClickCell(LoadView(), 1, 3);
    ClickCell(TransformerView(), 2, 1);
    TypeAtOnce(QStringLiteral("1#TX"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    QCOMPARE(m_dialog->GetTransformers()[0].m_strName, std::wstring(L"1#TR"));
    QCOMPARE(m_dialog->GetTransformers()[1].m_strName, std::wstring(L"1#TX"));

    // A figure: "0" would have jumped to the next row starting with it.
    ClickCell(LoadView(), 1, 8);
    ClickCell(TransformerView(), 1, 1);
    ClickCell(LoadView(), 1, 8);
    TypeAtOnce(QStringLiteral("0.9"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    QCOMPARE(m_dialog->GetLoads()[0].m_strPowerFactor, std::wstring(L"0.9"));
    QCOMPARE(m_dialog->GetLoads()[1].m_strPowerFactor, std::wstring(L"0.8"));
    QVERIFY(m_runner->boxes.empty());
}

void WindowTest::enterF2AndEscEditAsASpreadsheetDoes()
{
    // Enter commits at once and moves down: the next keys, typed before any
    // event processing, go to the cell below.
    CGridView& view = LoadView();
    view.setFocus();
    view.setCurrentIndex(view.GridModel().IndexOfCell(1, 5));
    TypeAtOnce(QStringLiteral("12"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    TypeAtOnce(QStringLiteral("34"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    QCOMPARE(m_dialog->GetLoads().GetSize(), 2);
    QCOMPARE(m_dialog->GetLoads()[0].m_strRatedPower, std::wstring(L"12"));
    QCOMPARE(m_dialog->GetLoads()[1].m_strRatedPower, std::wstring(L"34"));
    QCOMPARE(view.currentIndex(), view.GridModel().IndexOfCell(3, 5));
    QVERIFY(!view.IsEditing());

    // Enter outside an edit moves down too.
    view.setCurrentIndex(view.GridModel().IndexOfCell(1, 5));
    QTest::keyClick(&view, Qt::Key_Return);
    QCOMPARE(view.currentIndex(), view.GridModel().IndexOfCell(2, 5));

    // F2 edits the current cell with its text.
    QTest::keyClick(&view, Qt::Key_F2);
    QVERIFY(view.IsEditing());
    auto* editor = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    QVERIFY(editor);
    QCOMPARE(editor->text(), QStringLiteral("34"));

    // Esc in an edit cancels the edit only: no save question, the document
    // modified as before, the window open.
    TypeAtOnce(QStringLiteral("99"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    QVERIFY(!view.IsEditing());
    QCOMPARE(LoadGrid().GetItemText(2, 5), std::wstring(L"34"));
    QCOMPARE(m_dialog->GetLoads()[1].m_strRatedPower, std::wstring(L"34"));
    QVERIFY(m_runner->boxes.empty());
    QVERIFY(m_window->isVisible());

    // Esc outside an edit: the save question; Cancel keeps the window.
    m_runner->answers.push_back(Click(QMessageBox::Cancel));
    QTest::keyClick(&view, Qt::Key_Escape);
    QCOMPARE(m_runner->boxes.size(), size_t(1));
    QCOMPARE(m_runner->boxes[0].text, QStringLiteral("当前文档已经改变,是否保存？"));
    QVERIFY(m_window->isVisible());
}

void WindowTest::aCommandSeesTheCellBeingTyped()
{
    const QString path = m_folder->filePath("typed.LDC");
    m_runner->answers.push_back(ChooseFile(path));
    CGridView& view = LoadView();
    view.setFocus();
    view.setCurrentIndex(view.GridModel().IndexOfCell(1, 5));
    TypeAtOnce(QStringLiteral("7.5"));
    QVERIFY(view.IsEditing());
    // Ctrl+S while the editor is still open: the archive holds the text.
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_S, Qt::ControlModifier);
    QVERIFY(!view.IsEditing());
    QCOMPARE(m_dialog->GetFilePath(), ToWString(path));
    QVERIFY(!m_dialog->IsModified());
    // A new window opens the saved archive (the most recent file).
    Reopen();
    QCOMPARE(m_dialog->GetLoads().GetSize(), 1);
    QCOMPARE(m_dialog->GetLoads()[0].m_strRatedPower, std::wstring(L"7.5"));
}

void WindowTest::theLayoutIsKeptInTheSettingsFile()
{
    // The first start shows every load column, every title in at most two
    // lines and every text of a cell in full (here of the archive it opens).
    m_dialog->OnEndEdit(GridId::Load, 1, 3, L"冷水机组(屋顶)");
    m_runner->answers.push_back(ChooseFile(m_folder->filePath("wide.LDC")));
    m_dialog->OnFileSaveAs();
    Reopen();
    CGridView& load = LoadView();
    const int columns = load.model()->columnCount();
    const QHeaderView& header = *load.horizontalHeader();
    QVERIFY(header.sectionViewportPosition(columns - 1) + header.sectionSize(columns - 1) <=
            load.viewport()->width());
    const QSize firstSize = m_window->size();
    const QFontMetrics titles(header.font());
    for (CGridView* view : {&LoadView(), &TransformerView()}) {
        for (int c = 0; c < view->model()->columnCount(); ++c) {
            const QString title = view->model()->headerData(c, Qt::Horizontal).toString();
            const QRect r = titles.boundingRect(
                QRect(0, 0, view->horizontalHeader()->sectionSize(c) - 4, 10000),
                Qt::AlignCenter | Qt::TextWordWrap, title);
            QVERIFY2(r.height() <= 2 * titles.lineSpacing(), qPrintable(title));
        }
    }
    QVERIFY(QFontMetrics(load.font()).horizontalAdvance(QStringLiteral("冷水机组(屋顶)")) <
            header.sectionSize(2));

    // The user arranges the window; closing writes the layout.
    m_window->resize(m_window->OpenedSize() + QSize(150, 120));
    m_window->SetTransformerHeight(170);
    LoadView().horizontalHeader()->resizeSection(2, 133);
    TransformerView().horizontalHeader()->resizeSection(0, 111);
    const QSize size = m_window->size();
    const QList<int> loadWidths = [&] {
        QList<int> widths;
        for (int c = 0; c < columns; ++c) {
            widths.append(LoadView().horizontalHeader()->sectionSize(c));
        }
        return widths;
    }();
    m_runner->answers.push_back(Click(QMessageBox::No));
    m_window->close();
    QVERIFY(!m_window->isVisible());

    // A second window over the same settings file opens as it was left.
    Reopen();
    QCOMPARE(m_window->size(), size);
    QCOMPARE(m_window->TransformerHeight(), 170);
    QCOMPARE(TransformerView().height(), 170);
    for (int c = 0; c < columns; ++c) {
        QCOMPARE(LoadView().horizontalHeader()->sectionSize(c), loadWidths[c]);
    }
    QCOMPARE(TransformerView().horizontalHeader()->sectionSize(0), 111);
    m_window->close();

    // Damaged values fall back to the defaults, each on its own.
    {
        CLoadCalRecentFiles settings(ToWString(m_folder->filePath("settings.idp")));
        const std::wstring group(CWindowLayout::kGroup);
        settings.SetSetting(group + L"\\宽", L"12abc");
        settings.SetSetting(group + L"\\负荷表列宽", L"80,80");
        settings.SetSetting(group + L"\\变压器表高", L"-5");
        settings.WriteSettings();
    }
    Reopen();
    QCOMPARE(m_window->width(), firstSize.width());
    QCOMPARE(m_window->height(), size.height());
    QCOMPARE(m_window->TransformerHeight(), MapDialogRect(res::kTransformerFrameTemplate).Height());
    QVERIFY(LoadView().horizontalHeader()->sectionSize(2) != 133);
    QCOMPARE(TransformerView().horizontalHeader()->sectionSize(0), 111);
}

void WindowTest::theTotalRowStaysInSightAndFollowsEdits()
{
    for (int row = 1; row <= 40; ++row) {
        m_dialog->OnEndEdit(GridId::Load, row, 5, L"10");
    }
    const CTotalRowView& footer = m_window->TotalRow();
    const int total = LoadGrid().GetRowCount() - 1;
    const auto shows = [&](int col) {
        return footer.model()->index(0, col - 1).data().toString();
    };
    QCOMPARE(shows(2), QStringLiteral("总计:"));
    QCOMPARE(shows(5), QStringLiteral("400"));
    for (int col = 1; col <= 13; ++col) {
        QCOMPARE(shows(col), ToQString(LoadGrid().GetItemText(total, col)));
    }
    // Forty circuits do not fit: the grid scrolls, the footer stays under it
    // and the grid does not show the row a second time.
    CGridView& load = LoadView();
    QTRY_VERIFY(load.verticalScrollBar()->maximum() > 0);
    load.verticalScrollBar()->setValue(0);
    QVERIFY(footer.isVisible());
    QCOMPARE(footer.geometry().top(), load.geometry().bottom() + 1);
    QCOMPARE(LoadGrid().GetRowHeight(total), CGridCtrl::kDefaultRowHeight);
    QCOMPARE(footer.rowHeight(0), CGridCtrl::kDefaultRowHeight);
    QVERIFY(footer.height() >= footer.rowHeight(0));
    QVERIFY(load.isRowHidden(total - 1));
    QVERIFY(!load.isRowHidden(total - 2));
    // Scrolled sideways, the footer's columns stay under the grid's.
    m_window->resize(m_window->OpenedSize());
    QTRY_VERIFY(load.horizontalScrollBar()->maximum() > 40);
    load.horizontalScrollBar()->setValue(40);
    QTRY_COMPARE(footer.horizontalScrollBar()->value(), 40);
    QCOMPARE(footer.columnViewportPosition(4), load.columnViewportPosition(4));

    // An edit through the window changes the footer at once.
    Type(load, 3, 5, QStringLiteral("25"));
    QCOMPARE(shows(5), QStringLiteral("415"));
    QCOMPARE(shows(9), ToQString(LoadGrid().GetItemText(LoadGrid().GetRowCount() - 1, 9)));
    // A new circuit moves the total row down; the footer follows it.
    m_dialog->OnEndEdit(GridId::Load, 41, 5, L"5");
    QCOMPARE(shows(5), QStringLiteral("420"));
    QVERIFY(load.isRowHidden(load.model()->rowCount() - 1));
    QVERIFY(!load.isRowHidden(load.model()->rowCount() - 3));
}

void WindowTest::standardButtonsAndFileDialogsReadInChinese()
{
    std::unique_ptr<QTranslator> chinese = LoadChineseQtTranslations();
    QVERIFY(chinese);
    QCoreApplication::installTranslator(chinese.get());
    QStringList buttons;
    m_runner->answers.push_back([&](QDialog& dialog) {
        auto& box = static_cast<QMessageBox&>(dialog);
        for (auto button : {QMessageBox::Yes, QMessageBox::No, QMessageBox::Cancel}) {
            buttons.append(box.button(button)->text());
        }
        box.button(QMessageBox::Cancel)->click();
    });
    QString accept;
    QString title;
    m_runner->answers.push_back([&](QDialog& dialog) {
        auto& files = static_cast<QFileDialog&>(dialog);
        title = files.windowTitle();
        auto* box = files.findChild<QDialogButtonBox*>();
        QVERIFY(box);
        accept = box->button(QDialogButtonBox::Save) ? box->button(QDialogButtonBox::Save)->text()
                                                     : box->button(QDialogButtonBox::Open)->text();
        files.reject();
    });
    Type(LoadView(), 1, 3, QStringLiteral("Pump"));
    m_dialog->OnFileNew();  // the save question, answered Cancel
    m_dialog->OnFileSaveAs();
    QCoreApplication::removeTranslator(chinese.get());
    QCOMPARE(buttons, QStringList({QStringLiteral("是(&Y)"), QStringLiteral("否(&N)"),
                                   QStringLiteral("取消")}));
    QCOMPARE(accept, QStringLiteral("保存(&S)"));
    QCOMPARE(title, QStringLiteral("另存为"));
}

void WindowTest::aFailedSaveIsShownAndTheDocumentStaysModified()
{
    Type(LoadView(), 1, 3, QStringLiteral("Fan"));
    const QString path = m_folder->filePath("a.LDC");
    m_runner->answers.push_back(ChooseFile(path));
    m_runner->answers.push_back(Click(QMessageBox::Ok));
    {
        // No archive fits: the write fails as on a full disk.
        testsupport::FileSizeLimit full(64);
        QTest::keyClick(m_window.get(), Qt::Key_S, Qt::ControlModifier);
    }
    QCOMPARE(m_runner->dialogs, 2);
    QCOMPARE(m_runner->boxes.size(), size_t(1));
    const test::ShownBox box = m_runner->boxes[0];
    QCOMPARE(box.title, QStringLiteral("文件保存"));
    QCOMPARE(box.text, QStringLiteral("保存文件 \"") + path +
                           QStringLiteral("\" 失败：无法写入文件（File too large）\n"
                                          "文档没有保存，修改仍在窗口中。"));
    QCOMPARE(box.icon, QMessageBox::Warning);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QVERIFY(!QFileInfo::exists(path));
    QVERIFY(m_dialog->IsModified());
    QVERIFY(m_dialog->GetFilePath().empty());
    QCOMPARE(m_window->windowTitle(), QStringLiteral("需要系数法负荷计算『未命名』[*]"));
    QCOMPARE(LoadView().GridModel().IndexOfCell(1, 3).data().toString(), QStringLiteral("Fan"));

    // The close box still asks.
    m_runner->answers.push_back(Click(QMessageBox::Cancel));
    m_window->close();
    QCOMPARE(m_runner->boxes.size(), size_t(2));
    QCOMPARE(m_runner->boxes[1].text, QStringLiteral("当前文档已经改变,是否保存？"));
    QVERIFY(m_window->isVisible());
}

void WindowTest::aDamagedArchiveIsRefusedAndTheDocumentStays()
{
    const QString bad = m_folder->filePath("bad.LDC");
    QFile file(bad);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("\x89IDP\r\n\x1a\n");  // the magic, and nothing after it
    file.close();
    Type(LoadView(), 1, 3, QStringLiteral("Fan"));

    m_runner->answers.push_back(Click(QMessageBox::No));
    m_runner->answers.push_back(ChooseFile(bad));
    m_runner->answers.push_back(Click(QMessageBox::Ok));
    QTest::keyClick(m_window.get(), Qt::Key_O, Qt::ControlModifier);
    QCOMPARE(m_runner->boxes.size(), size_t(2));
    const test::ShownBox box = m_runner->boxes[1];
    QVERIFY2(box.text.startsWith(QStringLiteral("无法打开负荷计算存档文件 \"") + bad +
                                 QStringLiteral("\"：文件不完整，内容没有到结尾就中断了（")),
             qPrintable(box.text));
    QVERIFY2(box.text.contains(QStringLiteral("truncated")), qPrintable(box.text));
    QCOMPARE(box.icon, QMessageBox::Warning);
    QVERIFY(m_dialog->IsModified());
    QVERIFY(m_dialog->GetFilePath().empty());
    QCOMPARE(m_window->windowTitle(), QStringLiteral("需要系数法负荷计算『未命名』[*]"));
    QCOMPARE(LoadView().GridModel().IndexOfCell(1, 3).data().toString(), QStringLiteral("Fan"));
    QVERIFY(m_dialog->GetRecentFiles().GetSize() == 0);
}

void WindowTest::theRecoveryTimerKeepsACopyOfUnsavedChanges()
{
    QCOMPARE(QApplication::activeModalWidget(), m_window.get());
    Type(LoadView(), 1, 3, QStringLiteral("Fan"));
    // The window's timer writes the copy once the document has rested.
    QTRY_VERIFY_WITH_TIMEOUT(m_dialog->GetRecoveryCopyPath().has_value(), 10000);
    const QString copy = ToQString(*m_dialog->GetRecoveryCopyPath());
    QCOMPARE(QFileInfo(copy).absolutePath(), QFileInfo(m_folder->path()).absoluteFilePath());
    QVERIFY(QFileInfo::exists(copy));

    // Leaving without saving removes it.
    m_runner->answers.push_back(Click(QMessageBox::No));
    m_window->close();
    QVERIFY(!m_window->isVisible());
    QVERIFY(!QFileInfo::exists(copy));
}

void WindowTest::theLaunchersExitStatusTellsWhetherAFileWasShown()
{
    // xdg-open ends with 3 when no program handles the type: the window
    // must hear that, not only that the launcher started.
    const std::filesystem::path file = ToWString(m_folder->filePath("a.dxf"));
    QVERIFY(CQtFileOpener(L"/bin/true").Open(file));
    QVERIFY(!CQtFileOpener(L"/bin/false").Open(file));
    QVERIFY(!CQtFileOpener(L"/nonexistent/xdg-open").Open(file));
    const QString noMethod = m_folder->filePath("no-method");
    {
        QFile script(noMethod);
        QVERIFY(script.open(QIODevice::WriteOnly));
        script.write("#!/bin/sh\nexit 3\n");
    }
    QFile::setPermissions(noMethod, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    QVERIFY(!CQtFileOpener(ToWString(noMethod)).Open(file));

    // A launcher that runs the viewer in the foreground is still running
    // after the wait: shown, and the window is not held longer.
    const QString foreground = m_folder->filePath("foreground");
    {
        QFile script(foreground);
        QVERIFY(script.open(QIODevice::WriteOnly));
        script.write("#!/bin/sh\nexec sleep 3\n");
    }
    QFile::setPermissions(foreground, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    QElapsedTimer clock;
    clock.start();
    QVERIFY(CQtFileOpener(ToWString(foreground), std::chrono::milliseconds(200)).Open(file));
    QVERIFY2(clock.elapsed() < 2000, qPrintable(QString::number(clock.elapsed())));
}

void WindowTest::theBasePointIsTypedOverTheZeroOfEachField()
{
    // Typing into X replaces its 0 (not "1000" from "100" before "0.000");
    // Y and Z keep 0. (Tab selects the next field's text itself.)
    QList<double> shownAtFirst;
    m_runner->answers.push_back([&](QDialog& dialog) {
        for (const char* name : {"X", "Y", "Z"}) {
            auto* box = dialog.findChild<QDoubleSpinBox*>(QString::fromLatin1(name));
            QVERIFY(box);
            shownAtFirst.append(box->value());
        }
        QTest::keyClicks(dialog.findChild<QDoubleSpinBox*>(QStringLiteral("X")),
                         QStringLiteral("-12.5"));
        dialog.accept();
    });
    const std::optional<CadPoint> point = AskBasePoint(m_window.get(), m_runner.get());
    QCOMPARE(shownAtFirst, (QList<double>{0.0, 0.0, 0.0}));
    QVERIFY(point);
    QCOMPARE(point->x, -12.5);
    QCOMPARE(point->y, 0.0);
    QCOMPARE(point->z, 0.0);

    // Cancelled: no point.
    m_runner->answers.push_back([](QDialog& dialog) { dialog.reject(); });
    QVERIFY(!AskBasePoint(m_window.get(), m_runner.get()));
}

void WindowTest::theBoardGridStandsBetweenTheOthersAndKeepsItsHeight()
{
    CGridView& boards = m_window->View(GridId::Board);
    const auto top = [this](const QWidget& w) {
        return w.mapTo(m_window.get(), QPoint(0, 0)).y();
    };
    // Circuits, boards, transformers, top to bottom, none overlapping.
    QVERIFY(top(LoadView()) + LoadView().height() <= top(boards));
    QVERIFY(top(boards) + boards.height() <= top(TransformerView()));
    QCOMPARE(boards.height(), m_window->BoardHeight());
    QCOMPARE(boards.model()->columnCount(), static_cast<int>(kBoardColumns.size()));
    QCOMPARE(boards.model()->headerData(0, Qt::Horizontal).toString(),
             QStringLiteral("配电箱名称"));

    // A taller window: the board and transformer grids keep their heights.
    const int loadHeight = LoadView().height();
    m_window->resize(m_window->size() + QSize(0, 80));
    QTRY_COMPARE(LoadView().height(), loadHeight + 80);
    QCOMPARE(boards.height(), m_window->BoardHeight());

    // The split is kept, and never squeezes the load grid away.
    m_window->SetBoardHeight(150);
    QCOMPARE(boards.height(), 150);
    m_window->SetBoardHeight(100000);
    QVERIFY(LoadView().height() >= 30);
    m_window->SetBoardHeight(140);
    boards.horizontalHeader()->resizeSection(0, 123);
    m_window->close();
    Reopen();
    QCOMPARE(m_window->BoardHeight(), 140);
    QCOMPARE(m_window->View(GridId::Board).height(), 140);
    QCOMPARE(m_window->View(GridId::Board).horizontalHeader()->sectionSize(0), 123);
}

void WindowTest::aBoardsOwnersArePickedUnderTheTwoHeadings()
{
    CGridView& boards = m_window->View(GridId::Board);
    Type(TransformerView(), 1, 1, QStringLiteral("T1"));
    Type(boards, 1, 1, QStringLiteral("ALZ"));
    Type(boards, 2, 1, QStringLiteral("AL1"));
    QCOMPARE(m_dialog->GetBoards().GetSize(), 2);

    QStringList lines;
    QList<bool> checkable;
    m_runner->answers.push_back([&](QDialog& dialog) {
        auto& popup = dynamic_cast<CChoicePopup&>(dialog);
        for (int i = 0; i < popup.List().count(); ++i) {
            lines.append(popup.List().item(i)->text());
            checkable.append((popup.List().item(i)->flags() & Qt::ItemIsUserCheckable) != 0);
        }
        popup.show();
        // The first name is current: ALZ; Space ticks it.
        QTest::keyClick(&popup.List(), Qt::Key_Space);
        QTest::mouseClick(popup.Buttons().button(QDialogButtonBox::Ok), Qt::LeftButton);
    });
    ClickCell(boards, 2, static_cast<int>(kBoardColumns.size()));
    QCOMPARE(lines, (QStringList{"配电箱", "ALZ", "变压器", "T1"}));
    QCOMPARE(checkable, (QList<bool>{false, true, false, true}));
    QCOMPARE(m_dialog->GetBoards()[1].m_strOwner, std::wstring(L"ALZ"));
    QCOMPARE(boards.model()->index(1, 10).data().toString(), QStringLiteral("ALZ"));
}

QTEST_MAIN(WindowTest)
#include "test_window.moc"
