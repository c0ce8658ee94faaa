#include "dialog/qt/LoadCalWindow.h"

#include <QApplication>
#include <QClipboard>
#include <QCursor>
#include <QFileInfo>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMouseEvent>
#include <QScreen>
#include <QShortcut>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>
#include <QTreeWidget>
#include <algorithm>
#include <chrono>
#include <tuple>
#include <unordered_set>

#include "dialog/LoadCalResources.h"
#include "dialog/LoadCalTexts.h"
#include "dialog/WindowLayout.h"
#include "dialog/qt/AboutBox.h"
#include "dialog/qt/ChoicePopup.h"
#include "dialog/qt/GridView.h"
#include "dialog/qt/Icons.h"
#include "dialog/qt/LoadTypeDialog.h"
#include "dialog/qt/ProjectInfoDialog.h"
#include "dialog/qt/QtSession.h"
#include "dialog/qt/QtText.h"
#include "dialog/qt/TotalRowView.h"
#include "dialog/qt/WindowTexts.h"
#include "model/Text.h"

namespace loadcal {
namespace {

QRect ToQRect(const CRect& r)
{
    return QRect(r.left, r.top, r.Width(), r.Height());
}

QMessageBox::Icon IconOf(unsigned style)
{
    // The exclamation mark shares a bit with the question mark: tested first.
    if ((style & MB_ICONEXCLAMATION) == MB_ICONEXCLAMATION) {
        return QMessageBox::Warning;
    }
    if (style & MB_ICONQUESTION) {
        return QMessageBox::Question;
    }
    if (style & MB_ICONINFORMATION) {
        return QMessageBox::Information;
    }
    return QMessageBox::NoIcon;
}

constexpr unsigned kButtonMask = 0x0F;

QMessageBox::StandardButtons ButtonsOf(unsigned style)
{
    switch (style & kButtonMask) {
        case MB_OKCANCEL:
            return QMessageBox::Ok | QMessageBox::Cancel;
        case MB_YESNOCANCEL:
            return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
        case MB_YESNO:
            return QMessageBox::Yes | QMessageBox::No;
        default:
            return QMessageBox::Ok;
    }
}

/// The bar between two grids (or between the tree and the grids): dragging
/// it moves the split. Reports the pointer's height (or, across, its x) in
/// its parent's coordinates.
class CSplitHandle final : public QWidget {
public:
    CSplitHandle(QWidget* parent, std::function<void(int)> onDrag,
                 Qt::Orientation across = Qt::Vertical)
        : QWidget(parent), m_onDrag(std::move(onDrag)), m_across(across)
    {
        setCursor(across == Qt::Vertical ? Qt::SplitVCursor : Qt::SplitHCursor);
    }

protected:
    void mousePressEvent(QMouseEvent* event) override { event->accept(); }
    void mouseMoveEvent(QMouseEvent* event) override
    {
        if (event->buttons() & Qt::LeftButton) {
            const QPoint at = mapToParent(event->position().toPoint());
            m_onDrag(m_across == Qt::Vertical ? at.y() : at.x());
        }
    }

private:
    std::function<void(int)> m_onDrag;
    Qt::Orientation m_across;
};

/// Smallest heights the split leaves each grid (pixels).
constexpr int kMinGridHeight = 60;
/// The supply tree's width at first, its narrowest, and the narrowest the
/// grids keep beside it (pixels).
constexpr int kDefaultTreeWidth = 170;
constexpr int kMinTreeWidth = 60;
constexpr int kMinGridWidth = 200;
/// Up to this many nodes the tree opens whole; a larger one opens its first
/// two levels.
constexpr size_t kTreeOpenWhole = 400;

/// What a tree node shows, and its tip.
QString NodeText(const CSupplyNode& node)
{
    switch (node.kind) {
        case SupplyNodeKind::All:
            return ToQString(texts::kTreeAll);
        case SupplyNodeKind::Unfed:
            return ToQString(texts::kTreeUnfed);
        case SupplyNodeKind::Cycle:
            return ToQString(texts::kTreeCycle);
        case SupplyNodeKind::Transformer:
        case SupplyNodeKind::Board:
            break;
    }
    QString text = node.name.empty() ? ToQString(texts::kTreeUnnamed) : ToQString(node.name);
    if (node.membersLeftOut) {
        text += QStringLiteral(" …");
    }
    return text;
}

/// A key naming a node by its path from 全部 (kinds and names), to keep
/// nodes open across a rebuild.
QString NodePath(const std::vector<CSupplyNode>& nodes, size_t n)
{
    QString path;
    for (int at = static_cast<int>(n); at >= 0; at = nodes[static_cast<size_t>(at)].parent) {
        const CSupplyNode& node = nodes[static_cast<size_t>(at)];
        path.prepend(QString::number(static_cast<int>(node.kind)) + QLatin1Char(':') +
                     ToQString(FoldCase(node.name)) + QLatin1Char('/'));
    }
    return path;
}

}  // namespace

CLoadCalWindow::CLoadCalWindow(CLoadCalDiaog& dialog, IModalRunner* runner, QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                          Qt::WindowMaximizeButtonHint | Qt::WindowCloseButtonHint),
      m_dialog(dialog),
      m_pRunner(runner),
      m_loadFrame(MapDialogRect(res::kLoadFrameTemplate)),
      m_transformerFrame(MapDialogRect(res::kTransformerFrameTemplate))
{
    setFont(DialogFont());
    QIcon icon;
    for (int size : {16, 32, 48}) {
        icon.addPixmap(ApplicationIcon(size));
    }
    setWindowIcon(icon);
    setWindowTitle(ToQString(texts::kTitle));

    m_pMenuBar = new QMenuBar(this);
    m_pStatusBar = new QStatusBar(this);
    m_pStatusBar->setSizeGripEnabled(false);
    m_pStatusNote = new QLabel(m_pStatusBar);
    m_pStatusNote->setTextFormat(Qt::PlainText);
    m_pStatusBar->addPermanentWidget(m_pStatusNote);
    m_pClient = new QWidget(this);
    m_pToolBar = new QToolBar(m_pClient);
    m_pToolBar->setIconSize(QSize(kToolbarImageSize, kToolbarImageSize));
    m_pToolBar->setFloatable(false);
    m_pToolBar->setMovable(false);

    m_pLoadModel = new CGridModel(m_dialog, GridId::Load, this);
    m_pTransformerModel = new CGridModel(m_dialog, GridId::Transformer, this);
    m_pBoardModel = new CGridModel(m_dialog, GridId::Board, this);
    for (CGridModel* model : {m_pLoadModel, m_pBoardModel, m_pTransformerModel}) {
        model->SetErrorHandler(
            [this](const std::exception& e) { ReportInternalError(QString::fromUtf8(e.what())); });
    }
    m_pLoadView = new CGridView(*m_pLoadModel, m_pClient);
    m_pBoardView = new CGridView(*m_pBoardModel, m_pClient);
    m_pTransformerView = new CGridView(*m_pTransformerModel, m_pClient);
    m_pTotalRow = new CTotalRowView(*m_pLoadView, m_pClient);
    m_pSupplyTree = new QTreeWidget(m_pClient);
    m_pSupplyTree->setHeaderHidden(true);
    m_pSupplyTree->setColumnCount(1);
    m_pSupplyTree->setSelectionMode(QAbstractItemView::SingleSelection);
    m_pSupplyTree->setUniformRowHeights(true);
    // A click or the arrow keys on a node: the load grid shows its circuits.
    connect(m_pSupplyTree, &QTreeWidget::currentItemChanged, this,
            [this](QTreeWidgetItem* current) {
                if (current == nullptr) {
                    return;
                }
                const int node = current->data(0, Qt::UserRole).toInt();
                Guarded([this] { CommitOpenEdits(); });
                Guarded([this, node] { m_dialog.OnSupplyNodeClick(node); });
                RefreshCommandStates();
            });
    m_nTreeWidth = kDefaultTreeWidth;
    m_pTreeSplitHandle = new CSplitHandle(
        m_pClient, [this](int x) { SetTreeWidth(x - 2); }, Qt::Horizontal);
    m_pSplitHandle = new CSplitHandle(m_pClient, [this](int y) {
        // y is where the pointer is; the transformer grid begins below it.
        SetTransformerHeight(height() - MenuHeight() - StatusHeight() - 5 - y);
    });
    m_pBoardSplitHandle = new CSplitHandle(m_pClient, [this](int y) {
        // The board grid begins below the pointer.
        SetBoardHeight(UpperPaneBottom() - y - 2);
    });
    // The board grid starts at two thirds of the transformer grid's height.
    m_nBoardHeight = std::max(kMinGridHeight, m_transformerFrame.Height() * 2 / 3);
    for (CGridView* view : Views()) {
        const GridId grid = view->GridModel().Id();
        connect(view, &CGridView::cellClicked, this,
                [this, grid](int row, int col) { OnCellClicked(grid, row, col); });
        connect(view, &CGridView::cellRightClicked, this,
                [this, grid](int row, int col) { OnCellRightClicked(grid, row, col); });
    }

    BuildMenuBar();
    BuildToolBar();
    const std::pair<QKeySequence, unsigned> accelerators[] = {
        {QKeySequence(Qt::CTRL | Qt::Key_N), res::ID_FILE_NEW},
        {QKeySequence(Qt::CTRL | Qt::Key_O), res::ID_FILE_OPEN},
        {QKeySequence(Qt::CTRL | Qt::Key_S), res::ID_FILE_SAVE},
        {QKeySequence(Qt::CTRL | Qt::Key_Z), res::ID_EDIT_UNDO},
        {QKeySequence(Qt::CTRL | Qt::Key_Y), res::ID_EDIT_REDO},
        {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), res::ID_EDIT_REDO},
        {QKeySequence(Qt::Key_F9), res::ID_RECALCULATE_ALL},
    };
    for (const auto& [keys, id] : accelerators) {
        auto* shortcut = new QShortcut(keys, this);
        connect(shortcut, &QShortcut::activated, this, [this, id = id] { RunCommand(id); });
    }
    BindRowKeys();

    m_dialog.SetUi(this);
    qApp->installEventFilter(this);

    // The template gives the client area; the menu bar comes on top of it.
    const CRect client = MapDialogRect(res::kDialogTemplate);
    resize(client.Width(), client.Height() + MenuHeight());
    m_openedSize = size();
    Guarded([this] { m_dialog.OnCreate(width(), height()); });
    ApplyTrackingLimits();
    Guarded([this] { m_dialog.OnInitDialog(); });
    RestoreLayout();
    LayOut();

    auto* recoveryTimer = new QTimer(this);
    recoveryTimer->setInterval(kRecoveryTick);
    connect(recoveryTimer, &QTimer::timeout, this, &CLoadCalWindow::OnRecoveryTick);
    recoveryTimer->start();
}

CLoadCalWindow::~CLoadCalWindow()
{
    qApp->removeEventFilter(this);
    m_dialog.SetUi(nullptr);
}

CGridView& CLoadCalWindow::View(GridId grid) const
{
    switch (grid) {
        case GridId::Load:
            return *m_pLoadView;
        case GridId::Board:
            return *m_pBoardView;
        case GridId::LoadTypes:  // the library editor has a window of its own
        case GridId::Transformer:
            break;
    }
    return *m_pTransformerView;
}

// ---- Event boundary ----

void CLoadCalWindow::Guarded(const std::function<void()>& action)
{
    ++m_nControllerCalls;
    try {
        action();
    } catch (const std::exception& e) {
        ReportInternalError(QString::fromUtf8(e.what()));
    } catch (...) {
        ReportInternalError(QStringLiteral("unknown exception"));
    }
    --m_nControllerCalls;
    // The title's [*] shows the modified state as Qt marks it.
    setWindowModified(m_dialog.IsModified());
}

void CLoadCalWindow::OnRecoveryTick()
{
    // A tick that arrives inside a command (its boxes and the phase search
    // run event loops of their own) waits for the next one: the copy is
    // only taken of a document between two commands. The window itself runs
    // modally; any other modal box or popup means a command is under way.
    const QWidget* modal = QApplication::activeModalWidget();
    if (m_nControllerCalls > 0 || (modal != nullptr && modal != this) ||
        QApplication::activePopupWidget() != nullptr) {
        return;
    }
    Guarded([this] { m_dialog.OnRecoveryTimer(std::chrono::steady_clock::now()); });
}

void CLoadCalWindow::ReportInternalError(const QString& what)
{
    const std::wstring text = texts::FormatText(texts::kInternalErrorFormat, ToWString(what));
    RunMessageBox(Runner(), this, QMessageBox::Critical, ToQString(texts::kApplicationName),
                  ToQString(text), QMessageBox::Ok);
}

void CLoadCalWindow::RunCommand(unsigned id)
{
    // A command (a shortcut, a menu item or a toolbar button, none of which
    // takes the focus from an open editor) sees the cell being typed.
    Guarded([this] { CommitOpenEdits(); });
    Guarded([this, id] { m_dialog.OnCommand(id); });
    RefreshCommandStates();
}

void CLoadCalWindow::reject()
{
    Guarded([this] { CommitOpenEdits(); });
    Guarded([this] { m_dialog.OnCancel(); });
}

void CLoadCalWindow::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
        case Qt::Key_Escape:
            event->accept();
            return;
        default:
            QDialog::keyPressEvent(event);
    }
}

bool CLoadCalWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress || !isVisible()) {
        return QDialog::eventFilter(watched, event);
    }
    // A key event travels from the focus widget up to its window, passing
    // this filter at every step: only its first delivery counts.
    auto* widget = qobject_cast<QWidget*>(watched);
    QWidget* focus = QApplication::focusWidget();
    if (!widget || widget->window() != this || (focus ? widget != focus : widget != this)) {
        return QDialog::eventFilter(watched, event);
    }
    CGridView* editing = EditingView();
    DialogKey key = DialogKey::Other;
    switch (static_cast<QKeyEvent*>(event)->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
            key = DialogKey::Enter;
            break;
        case Qt::Key_Escape:
            // Esc while a cell is being edited cancels that edit only and
            // never reaches the dialog's Escape rule (the save question, then
            // Cancel). A deliberate departure from the original, where the
            // dialog saw Esc before the in-place editor did, so that even a
            // half-typed cell led to the save question. The editor's
            // delegate reverts the cell.
            if (editing) {
                return QDialog::eventFilter(watched, event);
            }
            key = DialogKey::Escape;
            break;
        default:
            return QDialog::eventFilter(watched, event);
    }
    KeyDisposition disposition = KeyDisposition::Default;
    Guarded([&] { disposition = m_dialog.PreTranslateKeyDown(key); });
    if (key == DialogKey::Enter && disposition == KeyDisposition::DispatchToFocus && editing) {
        // Enter ends the edit as a spreadsheet does: the text is committed
        // at once (not queued behind keys typed after it) and the cell
        // below becomes current. Outside an edit the view moves down itself.
        Guarded([editing] { editing->CommitEditAndMoveDown(); });
        return true;
    }
    return disposition == KeyDisposition::Handled;
}

CGridView* CLoadCalWindow::EditingView() const
{
    for (CGridView* view : Views()) {
        if (view->IsEditing()) {
            return view;
        }
    }
    return nullptr;
}

void CLoadCalWindow::CommitOpenEdits()
{
    for (CGridView* view : Views()) {
        view->CommitEdit();
    }
}

// ---- Menus and toolbar ----

void CLoadCalWindow::FillMenu(QMenu& menu, const CMenuModel& model, bool sendCommands)
{
    for (const CMenuItem& item : model.Items()) {
        switch (item.kind) {
            case CMenuItem::Kind::Separator:
                menu.addSeparator();
                break;
            case CMenuItem::Kind::Popup: {
                QMenu* sub = menu.addMenu(ToQString(item.text));
                sub->setEnabled(item.enabled);
                if (item.popup) {
                    FillMenu(*sub, *item.popup, sendCommands);
                }
                break;
            }
            case CMenuItem::Kind::Command: {
                QAction* action = menu.addAction(ToQString(item.text));
                action->setData(item.id);
                action->setEnabled(item.enabled);
                if (sendCommands) {
                    const unsigned id = item.id;
                    connect(action, &QAction::triggered, this, [this, id] { RunCommand(id); });
                }
                break;
            }
        }
    }
}

void CLoadCalWindow::BuildMenuBar()
{
    m_pMenuBar->clear();
    const CMenuModel& bar = m_dialog.GetMenuBar();
    for (int position = 0; position < bar.GetItemCount(); ++position) {
        const CMenuItem& item = bar.GetItem(position);
        if (item.kind != CMenuItem::Kind::Popup || !item.popup) {
            continue;
        }
        QMenu* menu = m_pMenuBar->addMenu(ToQString(item.text));
        FillMenu(*menu, *item.popup, true);
        connect(menu, &QMenu::aboutToShow, this,
                [this, position, menu] { OnMenuAboutToShow(position, *menu); });
    }
}

void CLoadCalWindow::OnMenuAboutToShow(int position, QMenu& menu)
{
    CMenuModel* popup = m_dialog.GetMenuBar().GetSubMenu(position);
    if (!popup) {
        return;
    }
    // The controller enables the items and lays the recent files into the
    // File menu; the Qt menu is then rebuilt from its model.
    Guarded([this, popup] { m_dialog.OnInitMenuPopup(*popup, false); });
    menu.clear();
    FillMenu(menu, *popup, true);
}

void CLoadCalWindow::BuildToolBar()
{
    for (unsigned id : res::kToolbarButtons) {
        if (id == 0) {
            m_pToolBar->addSeparator();
            continue;
        }
        const QString tip = ToQString(m_dialog.OnToolTipText(id).value_or(std::wstring()));
        QAction* action = m_pToolBar->addAction(ToolbarIcon(id), tip);
        action->setData(id);
        action->setToolTip(tip);
        connect(action, &QAction::triggered, this, [this, id] { RunCommand(id); });
    }
    RefreshCommandStates();
}

void CLoadCalWindow::RefreshCommandStates()
{
    for (QAction* action : m_pToolBar->actions()) {
        if (!action->isSeparator()) {
            action->setEnabled(m_dialog.IsCommandEnabled(action->data().toUInt()));
        }
    }
}

// ---- Grids ----

void CLoadCalWindow::OnCellClicked(GridId grid, int row, int col)
{
    Guarded([&] { m_dialog.OnGridClick(grid, row, col); });
    // The phase column has just become a drop-down list: open it.
    CGridView& view = View(grid);
    const QModelIndex index = view.GridModel().IndexOfCell(row, col);
    if (index.isValid() &&
        index.data(CGridModel::CellKindRole).toInt() == static_cast<int>(CellKind::Combo) &&
        (index.flags() & Qt::ItemIsEditable)) {
        view.EditCell(index);
    }
}

void CLoadCalWindow::OnCellRightClicked(GridId grid, int row, int col)
{
    Guarded([&] { m_dialog.OnGridRightClick(grid, row, col); });
    RefreshCommandStates();
}

void CLoadCalWindow::BindRowKeys()
{
    // The keys of the row commands belong to a grid while no cell editor is
    // open; an open line editor takes them itself (ShortcutOverride), so
    // they cut, copy and paste its text instead.
    for (CGridView* view : Views()) {
        const GridId grid = view->GridModel().Id();
        const std::pair<QKeySequence, void (CLoadCalWindow::*)(GridId)> keys[] = {
            {QKeySequence(Qt::Key_Delete), &CLoadCalWindow::OnDeleteKey},
            {QKeySequence(Qt::CTRL | Qt::Key_X), &CLoadCalWindow::OnCutKey},
            {QKeySequence(Qt::CTRL | Qt::Key_C), &CLoadCalWindow::OnCopyKey},
            {QKeySequence(Qt::CTRL | Qt::Key_V), &CLoadCalWindow::OnPasteKey},
            {QKeySequence(Qt::CTRL | Qt::Key_D), &CLoadCalWindow::OnFillDownKey},
            {QKeySequence(Qt::CTRL | Qt::Key_Plus), &CLoadCalWindow::OnInsertKey},
            {QKeySequence(Qt::CTRL | Qt::Key_Equal), &CLoadCalWindow::OnInsertKey},
        };
        for (const auto& [sequence, handler] : keys) {
            auto* shortcut =
                new QShortcut(sequence, view, nullptr, nullptr, Qt::WidgetWithChildrenShortcut);
            connect(shortcut, &QShortcut::activated, this, [this, view, grid, h = handler] {
                if (!view->IsEditing()) {
                    (this->*h)(grid);
                }
            });
        }
    }
}

void CLoadCalWindow::OnDeleteKey(GridId grid)
{
    Guarded([&] { m_dialog.OnDeleteKey(grid); });
}

void CLoadCalWindow::OnFillDownKey(GridId grid)
{
    Guarded([&] { m_dialog.OnFillDown(grid); });
}

void CLoadCalWindow::OnInsertKey(GridId grid)
{
    Guarded([&] { m_dialog.OnInsertRow(grid); });
}

void CLoadCalWindow::OnCutKey(GridId grid)
{
    Guarded([&] { m_dialog.OnCutKey(grid); });
}

void CLoadCalWindow::OnCopyKey(GridId grid)
{
    Guarded([&] { m_dialog.OnCopyKey(grid); });
}

void CLoadCalWindow::OnPasteKey(GridId grid)
{
    const std::wstring text = ToWString(QGuiApplication::clipboard()->text());
    Guarded([&] { m_dialog.OnPasteKey(grid, text); });
}

// ---- Size and layout ----

int CLoadCalWindow::MenuHeight() const
{
    return m_pMenuBar->sizeHint().height();
}

int CLoadCalWindow::StatusHeight() const
{
    return m_pStatusBar->sizeHint().height();
}

void CLoadCalWindow::ApplyTrackingLimits()
{
    const QScreen* display = screen();
    const QSize maximised =
        display ? display->availableSize() : QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    const CMinMaxInfo limits = m_dialog.OnGetMinMaxInfo(maximised.width(), maximised.height());
    const QSize minimum(limits.minTrackWidth, limits.minTrackHeight);
    setMinimumSize(minimum);
    setMaximumSize(QSize(limits.maxTrackWidth, limits.maxTrackHeight).expandedTo(minimum));
}

void CLoadCalWindow::resizeEvent(QResizeEvent* event)
{
    QDialog::resizeEvent(event);
    LayOut();
}

void CLoadCalWindow::SetTransformerHeight(int pixels)
{
    // The board grid ends 8 pixels above the transformer grid's top, which
    // lies 5 pixels plus its height above the client area's bottom; the
    // load grid ends 3 pixels above the board grid.
    const int room = height() - MenuHeight() - StatusHeight() - 13 - m_loadFrame.top -
                     kMinGridHeight - m_nBoardHeight - 3;
    pixels = std::clamp(pixels, kMinGridHeight, std::max(kMinGridHeight, room));
    m_transformerFrame.top = m_transformerFrame.bottom - pixels;
    LayOut();
}

int CLoadCalWindow::UpperPaneBottom() const
{
    return height() - MenuHeight() - StatusHeight() - m_transformerFrame.Height() - 8;
}

void CLoadCalWindow::SetBoardHeight(int pixels)
{
    const int room = UpperPaneBottom() - m_loadFrame.top - kMinGridHeight - 3;
    m_nBoardHeight = std::clamp(pixels, kMinGridHeight, std::max(kMinGridHeight, room));
    LayOut();
}

void CLoadCalWindow::RestoreLayout()
{
    // The board and transformer grids keep the widths of their own columns;
    // the fire case's, which only some documents show, start as wide as
    // their tables say.
    const CWindowLayout saved = CWindowLayout::Read(
        m_dialog.GetRecentFiles(), m_pLoadModel->columnCount(),
        static_cast<int>(kTransformerColumns.size()), static_cast<int>(kBoardColumns.size()));
    m_nTreeWidth = saved.treeWidth.value_or(m_nTreeWidth);
    for (auto [view, widths] : {std::pair{m_pLoadView, &saved.loadColumns},
                                std::pair{m_pTransformerView, &saved.transformerColumns},
                                std::pair{m_pBoardView, &saved.boardColumns}}) {
        view->FitColumnWidths();
        CGridCtrl& grid = view->GridModel().Grid();
        for (size_t i = 0; i < widths->size(); ++i) {
            grid.SetColumnWidth(view->GridModel().GridColumn(static_cast<int>(i)), (*widths)[i]);
        }
    }

    // The first start: wide enough for the tree and every load column.
    int loadWidth = 2 * m_pLoadView->frameWidth() + m_pLoadView->verticalHeader()->width() +
                    style()->pixelMetric(QStyle::PM_ScrollBarExtent) + 3 + m_loadFrame.left +
                    m_nTreeWidth + 4;
    for (int c = 0; c < m_pLoadModel->columnCount(); ++c) {
        loadWidth += m_pLoadView->horizontalHeader()->sectionSize(c);
    }
    const QSize wanted(saved.width.value_or(std::max(width(), loadWidth)),
                       saved.height.value_or(height()));
    const QScreen* display = screen();
    const QSize available = display ? display->availableSize() : wanted;
    resize(wanted.boundedTo(available).expandedTo(minimumSize()));

    if (saved.transformerHeight) {
        SetTransformerHeight(*saved.transformerHeight);
    }
    SetBoardHeight(saved.boardHeight.value_or(m_nBoardHeight));

    const QRect area = display ? display->availableGeometry() : QRect();
    if (saved.left && saved.top && area.contains(QPoint(*saved.left, *saved.top))) {
        move(*saved.left, *saved.top);
    } else {
        CenterWindow();
    }
}

void CLoadCalWindow::SaveLayout()
{
    CWindowLayout layout;
    const QPoint corner = pos();
    layout.left = corner.x();
    layout.top = corner.y();
    layout.width = width();
    layout.height = height();
    layout.transformerHeight = TransformerHeight();
    layout.boardHeight = BoardHeight();
    layout.treeWidth = TreeWidth();
    for (auto [view, widths, count] :
         {std::tuple{m_pLoadView, &layout.loadColumns, m_pLoadModel->columnCount()},
          std::tuple{m_pTransformerView, &layout.transformerColumns,
                     static_cast<int>(kTransformerColumns.size())},
          std::tuple{m_pBoardView, &layout.boardColumns, static_cast<int>(kBoardColumns.size())}}) {
        for (int c = 0; c < std::min(count, view->model()->columnCount()); ++c) {
            widths->push_back(view->horizontalHeader()->sectionSize(c));
        }
    }
    CLoadCalRecentFiles& settings = m_dialog.GetRecentFiles();
    layout.Store(settings);
    settings.WriteSettings();
}

void CLoadCalWindow::SetTreeWidth(int pixels)
{
    const int room = width() - kMinGridWidth - m_loadFrame.left - 8;
    m_nTreeWidth = std::clamp(pixels, kMinTreeWidth, std::max(kMinTreeWidth, room));
    LayOut();
}

void CLoadCalWindow::done(int result)
{
    Guarded([this] { SaveLayout(); });
    QDialog::done(result);
}

void CLoadCalWindow::LayOut()
{
    const int menuHeight = MenuHeight();
    const int statusHeight = StatusHeight();
    m_pMenuBar->setGeometry(0, 0, width(), menuHeight);
    m_pStatusBar->setGeometry(0, height() - statusHeight, width(), statusHeight);
    m_pClient->setGeometry(0, menuHeight, width(), height() - menuHeight - statusHeight);
    m_pToolBar->setGeometry(0, 0, width(),
                            std::min(m_pToolBar->sizeHint().height(), m_loadFrame.top));
    // The menu bar stands where a Windows dialog has its non-client menu;
    // the window manager's frame is not part of the widget, so the window's
    // edges are the widget's own.
    const CRect windowInClient{0, -menuHeight, width(), height() - menuHeight - statusHeight};
    // The supply tree stands at the left, from the toolbar down; the grids
    // take the rest of the width.
    const int treeWidth =
        std::clamp(m_nTreeWidth, 0, std::max(0, width() - kMinGridWidth - m_loadFrame.left - 8));
    const int gridsLeft = m_loadFrame.left + treeWidth + 4;
    CRect loadFrame = m_loadFrame;
    loadFrame.left += treeWidth + 4;
    CRect transformerFrame = m_transformerFrame;
    transformerFrame.left += treeWidth + 4;
    const CGridLayout layout = CLoadCalDiaog::OnSize(windowInClient, loadFrame, transformerFrame);
    m_pSupplyTree->setGeometry(m_loadFrame.left, m_loadFrame.top, treeWidth,
                               std::max(0, layout.transformer.bottom - m_loadFrame.top));
    m_pTreeSplitHandle->setGeometry(gridsLeft - 4, m_loadFrame.top, 4,
                                    std::max(0, layout.transformer.bottom - m_loadFrame.top));
    // The board grid takes the bottom of the load grid's place, 3 pixels
    // below it, leaving the load grid its smallest useful height.
    const int boardHeight =
        std::clamp(m_nBoardHeight, 0, std::max(0, layout.load.Height() - kMinGridHeight - 3));
    CRect board = layout.load;
    board.top = board.bottom - boardHeight;
    CRect upper = layout.load;
    upper.bottom = board.top - 3;
    // The total row stands frozen under the load grid's rows.
    QRect load = ToQRect(upper);
    load.setHeight(std::max(0, load.height() - m_pTotalRow->RowHeight()));
    m_pLoadView->setGeometry(load);
    m_pTotalRow->Follow();
    m_pBoardView->setGeometry(ToQRect(board));
    m_pTransformerView->setGeometry(ToQRect(layout.transformer));
    const int gapTop = layout.load.bottom - 1;
    m_pSplitHandle->setGeometry(gridsLeft, gapTop, width() - gridsLeft,
                                layout.transformer.top + 1 - gapTop);
    m_pSplitHandle->raise();
    m_pBoardSplitHandle->setGeometry(gridsLeft, upper.bottom - 1, width() - gridsLeft,
                                     board.top + 1 - upper.bottom + 1);
    m_pBoardSplitHandle->raise();
}

// ---- ILoadCalUi ----

int CLoadCalWindow::MessageBox(const std::wstring& text, const std::wstring& caption,
                               unsigned style)
{
    const QMessageBox::StandardButton answer = RunMessageBox(
        Runner(), this, IconOf(style), ToQString(caption), ToQString(text), ButtonsOf(style));
    switch (answer) {
        case QMessageBox::Ok:
            return IDOK;
        case QMessageBox::Yes:
            return IDYES;
        case QMessageBox::No:
            return IDNO;
        case QMessageBox::Cancel:
            return IDCANCEL;
        default:
            // Closed without a button: a box with OK only answers OK.
            return (style & kButtonMask) == MB_OK ? IDOK : IDCANCEL;
    }
}

std::optional<std::wstring> CLoadCalWindow::RunArchiveDialog(const CFileDialogOptions& options,
                                                             bool save)
{
    FileDialogRequest request;
    request.save = save;
    request.filter = options.filter;
    request.defaultExtension = options.defaultExtension;
    request.proposedName = ToQString(options.initialName);
    request.confirmOverwrite = options.overwritePrompt;
    if (!m_dialog.GetFilePath().empty()) {
        request.directory = QFileInfo(ToQString(m_dialog.GetFilePath())).absolutePath();
    }
    const std::optional<QString> path = RunFileDialog(Runner(), this, request);
    if (!path) {
        return std::nullopt;
    }
    return ToWString(*path);
}

std::optional<std::wstring> CLoadCalWindow::OpenFileDialog(const CFileDialogOptions& options)
{
    return RunArchiveDialog(options, false);
}

std::optional<std::wstring> CLoadCalWindow::SaveFileDialog(const CFileDialogOptions& options)
{
    return RunArchiveDialog(options, true);
}

bool CLoadCalWindow::EditLoadTypes(CLoadTypeLibraryEditor& editor, const std::wstring& userPath)
{
    CLoadTypeLibraryDialog dialog(editor, userPath, Runner(), this);
    return Runner().Exec(dialog) == QDialog::Accepted;
}

void CLoadCalWindow::ShowSupplyTree(const CSupplyTree& tree, int selected)
{
    const std::vector<CSupplyNode>& nodes = tree.Nodes();
    // A node that was there before keeps its state, open or closed; a new
    // one opens when the tree is small, else in the first two levels.
    std::unordered_set<QString> before;
    std::unordered_set<QString> open;
    for (QTreeWidgetItem* item : m_supplyItems) {
        const QString path = item->data(0, Qt::UserRole + 1).toString();
        before.insert(path);
        if (item->isExpanded()) {
            open.insert(path);
        }
    }
    const QSignalBlocker blocker(m_pSupplyTree);
    m_pSupplyTree->setUpdatesEnabled(false);
    m_pSupplyTree->clear();
    m_supplyItems.assign(nodes.size(), nullptr);
    QFont bold = m_pSupplyTree->font();
    bold.setBold(true);
    std::vector<QString> paths(nodes.size());
    for (size_t n = 0; n < nodes.size(); ++n) {
        const CSupplyNode& node = nodes[n];
        QTreeWidgetItem* item =
            node.parent < 0 ? new QTreeWidgetItem(m_pSupplyTree)
                            : new QTreeWidgetItem(m_supplyItems[static_cast<size_t>(node.parent)]);
        item->setText(0, NodeText(node));
        item->setData(0, Qt::UserRole, static_cast<int>(n));
        paths[n] = NodePath(nodes, n);
        item->setData(0, Qt::UserRole + 1, paths[n]);
        if (node.kind != SupplyNodeKind::Board) {
            item->setFont(0, bold);
        }
        if (node.kind == SupplyNodeKind::Transformer || node.kind == SupplyNodeKind::Board) {
            item->setToolTip(0, ToQString(texts::FormatText(node.kind == SupplyNodeKind::Board
                                                                ? texts::kTreeBoardTipFormat
                                                                : texts::kTreeTransformerTipFormat,
                                                            node.name)));
        }
        m_supplyItems[n] = item;
    }
    for (size_t n = 0; n < nodes.size(); ++n) {
        const bool openAtFirst = nodes.size() <= kTreeOpenWhole || nodes[n].depth < 2;
        m_supplyItems[n]->setExpanded(before.contains(paths[n]) ? open.contains(paths[n])
                                                                : openAtFirst);
    }
    if (QTreeWidgetItem* current = SupplyItem(selected)) {
        m_pSupplyTree->setCurrentItem(current);
        m_pSupplyTree->scrollToItem(current);
    }
    m_pSupplyTree->setUpdatesEnabled(true);
}

QTreeWidgetItem* CLoadCalWindow::SupplyItem(int node) const
{
    return node >= 0 && static_cast<size_t>(node) < m_supplyItems.size()
               ? m_supplyItems[static_cast<size_t>(node)]
               : nullptr;
}

bool CLoadCalWindow::EditProjectInfo(CDocumentProperties& properties)
{
    CProjectInfoDialog dialog(properties, this);
    if (Runner().Exec(dialog) != QDialog::Accepted) {
        return false;
    }
    properties = dialog.Properties();
    return true;
}

void CLoadCalWindow::SetStatusNote(const std::wstring& text)
{
    m_pStatusNote->setText(ToQString(text));
}

void CLoadCalWindow::SetStatusText(const std::wstring& text)
{
    m_pStatusBar->showMessage(ToQString(text));
}

void CLoadCalWindow::SetWindowText(const std::wstring& title)
{
    // Qt shows "*" for the placeholder while the document is modified.
    setWindowTitle(ToQString(title) + QStringLiteral("[*]"));
    setWindowModified(m_dialog.IsModified());
    if (isVisible()) {
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    }
}

std::optional<std::vector<std::wstring>> CLoadCalWindow::ShowChoiceList(
    const std::vector<std::wstring>& names, const std::vector<bool>& marks, int row, int col,
    GridId grid, size_t boardCount)
{
    CChoicePopup popup(names, marks, boardCount, this);
    popup.setFont(DialogFont());
    CGridView& view = View(grid);
    view.scrollTo(view.GridModel().IndexOfCell(row, col));
    const QRect cell = view.CellRect(row, col);
    popup.PlaceAt(view.viewport()->mapToGlobal(cell.topLeft()), cell.width());
    if (Runner().Exec(popup) != QDialog::Accepted) {
        return std::nullopt;
    }
    return popup.MarkedNames();
}

CPopupResult CLoadCalWindow::TrackPopupMenu(const CMenuModel& popup)
{
    QMenu menu(this);
    menu.setFont(DialogFont());
    FillMenu(menu, popup, false);
    const QAction* chosen = Runner().ExecMenu(menu, QCursor::pos());
    return {CPopupResult::Status::Tracked, chosen ? chosen->data().toUInt() : 0u};
}

void CLoadCalWindow::ResizeWindow(int width, int height)
{
    resize(width, height);
}

void CLoadCalWindow::CenterWindow()
{
    const QWidget* owner = parentWidget() ? parentWidget()->window() : nullptr;
    const QScreen* display = screen();
    const QRect area =
        owner ? owner->frameGeometry() : (display ? display->availableGeometry() : QRect());
    if (area.isEmpty()) {
        return;
    }
    QRect frame = frameGeometry();
    frame.moveCenter(area.center());
    move(frame.topLeft());
}

void CLoadCalWindow::EndDialog(int result)
{
    done(result == IDOK ? QDialog::Accepted : QDialog::Rejected);
}

void CLoadCalWindow::ShowAboutBox()
{
    CAboutBox box(this);
    Runner().Exec(box);
}

void CLoadCalWindow::SetClipboardText(const std::wstring& text)
{
    QGuiApplication::clipboard()->setText(ToQString(text));
}

// ---- Running the dialog ----

int RunLoadCalDialog(CLoadCalDiaog& dialog, IModalRunner* runner)
{
    CQtSession session;
    CLoadCalWindow window(dialog, runner);
    window.exec();
    return dialog.GetEndResult().value_or(IDCANCEL);
}

}  // namespace loadcal
