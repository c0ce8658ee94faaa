#include "dialog/qt/GridView.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QCompleter>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QHeaderView>
#include <QItemSelection>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPersistentModelIndex>
#include <QTimer>
#include <algorithm>

namespace loadcal {

// ---- CGridDelegate ----

namespace {

bool IsComboCell(const QModelIndex& index)
{
    return index.data(CGridModel::CellKindRole).toInt() == static_cast<int>(CellKind::Combo);
}

/// Set on a combo editor opened by a typed key: its list does not drop
/// down, so that the keys that follow go on into its text.
constexpr const char* kOpenedByTyping = "loadcalOpenedByTyping";
/// Set on a combo editor once its choice has been handed to the view.
constexpr const char* kFinished = "loadcalFinished";

}  // namespace

QWidget* CGridDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                     const QModelIndex& index) const
{
    if (!IsComboCell(index)) {
        QWidget* editor = QStyledItemDelegate::createEditor(parent, option, index);
        if (auto* line = qobject_cast<QLineEdit*>(editor)) {
            line->setAlignment(index.data(Qt::TextAlignmentRole).value<Qt::Alignment>() &
                               Qt::AlignHorizontal_Mask);
        }
        return editor;
    }
    auto* combo = new QComboBox(parent);
    const bool freeText = index.data(CGridModel::ComboFreeTextRole).toBool();
    combo->setEditable(freeText);
    const QStringList options = index.data(CGridModel::ComboOptionsRole).toStringList();
    combo->addItems(options);
    // The list is as wide as its longest choice, however narrow the column.
    int widest = 0;
    for (const QString& choice : options) {
        widest = std::max(widest, combo->fontMetrics().horizontalAdvance(choice));
    }
    const int listWidth = widest + combo->style()->pixelMetric(QStyle::PM_ScrollBarExtent) + 24;
    combo->view()->setMinimumWidth(listWidth);
    // A pick ends the edit at once, as a drop-down list cell does.
    auto* self = const_cast<CGridDelegate*>(this);
    // Once: a pick in the filtered list also reports itself as activated.
    const auto finish = [self, combo] {
        if (combo->property(kFinished).toBool()) {
            return;
        }
        combo->setProperty(kFinished, true);
        emit self->commitData(combo);
        emit self->closeEditor(combo);
    };
    connect(combo, &QComboBox::activated, self, finish);
    if (freeText) {
        // Typing filters the list to the choices that hold the text; a text
        // that is none of them is taken as typed.
        combo->setInsertPolicy(QComboBox::NoInsert);
        auto* completer = new QCompleter(combo->model(), combo);
        completer->setCaseSensitivity(Qt::CaseInsensitive);
        completer->setFilterMode(Qt::MatchContains);
        completer->setCompletionMode(QCompleter::PopupCompletion);
        combo->setCompleter(completer);
        completer->popup()->setMinimumWidth(listWidth);
        combo->lineEdit()->setAlignment(index.data(Qt::TextAlignmentRole).value<Qt::Alignment>() &
                                        Qt::AlignHorizontal_Mask);
        // Enter while the filtered list is open takes the text (or the
        // choice picked in it) and ends the edit, as Enter does without it.
        connect(combo->lineEdit(), &QLineEdit::returnPressed, self, [combo, finish] {
            if (combo->completer() && combo->completer()->popup()->isVisible()) {
                finish();
            }
        });
        connect(completer, qOverload<const QString&>(&QCompleter::activated), self,
                [combo, finish](const QString& text) {
                    combo->setEditText(text);
                    finish();
                });
    }
    return combo;
}

void CGridDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const
{
    auto* combo = qobject_cast<QComboBox*>(editor);
    if (!combo) {
        QStyledItemDelegate::setEditorData(editor, index);
        return;
    }
    const QString text = index.data(Qt::EditRole).toString();
    combo->setCurrentIndex(combo->findText(text));
    if (combo->isEditable()) {
        combo->setEditText(text);
    }
    // The list drops down as soon as the editor is on screen, unless a
    // typed key opened it.
    QTimer::singleShot(0, combo, [combo] {
        if (combo->isVisible() && !combo->property(kOpenedByTyping).toBool()) {
            combo->showPopup();
        }
    });
}

void CGridDelegate::setModelData(QWidget* editor, QAbstractItemModel* model,
                                 const QModelIndex& index) const
{
    if (auto* combo = qobject_cast<QComboBox*>(editor)) {
        model->setData(index, combo->currentText(), Qt::EditRole);
        return;
    }
    QStyledItemDelegate::setModelData(editor, model, index);
}

// ---- CGridView ----

CGridView::CGridView(CGridModel& model, QWidget* parent) : QTableView(parent), m_model(model)
{
    setModel(&m_model);
    setItemDelegate(new CGridDelegate(this));
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setSelectionBehavior(QAbstractItemView::SelectItems);
    // No SelectedClicked: a click on the selected cell would start an edit
    // after the double-click interval, and keys typed before then went
    // elsewhere. Typing, F2 and a double click start an edit at once.
    setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                    QAbstractItemView::AnyKeyPressed);
    setWordWrap(false);
    setContextMenuPolicy(Qt::CustomContextMenu);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);

    QHeaderView* columns = horizontalHeader();
    columns->setDefaultAlignment(Qt::Alignment::fromInt(Qt::AlignCenter | Qt::TextWordWrap));
    columns->setMinimumSectionSize(1);
    columns->setSectionResizeMode(QHeaderView::Interactive);
    columns->setHighlightSections(false);
    QHeaderView* rows = verticalHeader();
    rows->setMinimumSectionSize(1);
    rows->setDefaultSectionSize(CGridCtrl::kDefaultRowHeight);
    rows->setSectionResizeMode(QHeaderView::Interactive);
    rows->setHighlightSections(false);

    connect(&m_model, &CGridModel::sizesChanged, this, &CGridView::ApplySizes);
    connect(&m_model, &CGridModel::gridSelectionChanged, this, &CGridView::PullSelection);
    connect(&m_model, &CGridModel::structureChanged, this, &CGridView::PullSelection);
    connect(&m_model, &CGridModel::headerDataChanged, this, &CGridView::ApplySizes);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &CGridView::PushSelection);
    connect(selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) {
                // Keys move the anchor unless Shift extends the selection;
                // a drag keeps the cell it was pressed on.
                if (!m_bPressed && !(QGuiApplication::keyboardModifiers() & Qt::ShiftModifier)) {
                    m_anchor = current;
                }
                PushCurrent(current);
            });
    connect(columns, &QHeaderView::sectionResized, this, [this](int section, int, int size) {
        OnSectionResized(Qt::Horizontal, section, size);
    });
    connect(rows, &QHeaderView::sectionResized, this,
            [this](int section, int, int size) { OnSectionResized(Qt::Vertical, section, size); });
    connect(this, &QTableView::clicked, this, [this](const QModelIndex& index) {
        emit cellClicked(m_model.GridRow(index.row()), m_model.GridColumn(index.column()));
    });
    connect(this, &QWidget::customContextMenuRequested, this, [this](const QPoint& pos) {
        const QModelIndex index = indexAt(pos);
        if (index.isValid()) {
            emit cellRightClicked(m_model.GridRow(index.row()), m_model.GridColumn(index.column()));
        }
    });
    ApplySizes();
    PullSelection();
}

QRect CGridView::CellRect(int gridRow, int gridCol) const
{
    return visualRect(m_model.IndexOfCell(gridRow, gridCol));
}

void CGridView::EditCell(const QModelIndex& index)
{
    if (state() != EditingState) {
        QTableView::edit(index);
    }
}

void CGridView::CommitEdit()
{
    if (state() != EditingState) {
        return;
    }
    QWidget* editor = indexWidget(currentIndex());
    if (!editor) {
        return;
    }
    // The delegate's own commit on Enter is queued; this one is not, so
    // keys and commands that follow see the edit done.
    commitData(editor);
    closeEditor(editor, QAbstractItemDelegate::NoHint);
}

void CGridView::CommitEditAndMoveDown()
{
    const QModelIndex current = currentIndex();
    if (!current.isValid()) {
        return;
    }
    const int gridRow = m_model.GridRow(current.row());
    const int gridCol = m_model.GridColumn(current.column());
    const int rowsBefore = m_model.rowCount();
    CommitEdit();
    // An edit that deleted its row (every key cell cleared) brings the next
    // row up to this one: stay.
    const int target = m_model.rowCount() < rowsBefore ? gridRow : gridRow + 1;
    const QModelIndex below = m_model.IndexOfCell(target, gridCol);
    // The grid's own total row is hidden under the frozen one: stay.
    if (below.isValid() && !isRowHidden(below.row())) {
        setCurrentIndex(below);
    }
}

namespace {

/// The narrowest width (pixels) at which a title wraps into at most two
/// lines, breaking where Qt's word wrap may break.
int TitleWidth(const QFontMetrics& metrics, const QString& title)
{
    const int oneLine = metrics.horizontalAdvance(title);
    const auto lines = [&](int width) {
        const QRect r = metrics.boundingRect(QRect(0, 0, width, 100000),
                                             Qt::AlignCenter | Qt::TextWordWrap, title);
        return (r.height() + metrics.leading()) / std::max(1, metrics.lineSpacing());
    };
    int low = 1;
    int high = std::max(1, oneLine);
    while (low < high) {
        const int mid = (low + high) / 2;
        if (lines(mid) <= 2) {
            high = mid;
        } else {
            low = mid + 1;
        }
    }
    return high;
}

}  // namespace

void CGridView::FitColumnWidths()
{
    CGridCtrl& g = m_model.Grid();
    const QFontMetrics titleMetrics(horizontalHeader()->font());
    const QFontMetrics cellMetrics(font());
    const int headerMargin =
        2 * style()->pixelMetric(QStyle::PM_HeaderMargin, nullptr, horizontalHeader());
    const int cellMargin =
        2 * (style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, this) + 3);
    const int rows = m_model.rowCount();
    for (int column = 0; column < m_model.columnCount(); ++column) {
        const QString title = m_model.headerData(column, Qt::Horizontal).toString();
        int width = TitleWidth(titleMetrics, title) + headerMargin;
        const auto measure = [&](int row) {
            const QString text = m_model.index(row, column).data().toString();
            width = std::max(width, cellMetrics.horizontalAdvance(text) + cellMargin);
        };
        for (int row = 0; row < std::min(rows, kRowsMeasured); ++row) {
            measure(row);
        }
        if (rows > kRowsMeasured) {
            measure(rows - 1);
        }
        g.SetColumnWidth(m_model.GridColumn(column),
                         std::clamp(width, kMinFittedWidth, kMaxFittedWidth));
    }
}

void CGridView::keyPressEvent(QKeyEvent* event)
{
    if (state() != EditingState) {
        if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
            CommitEditAndMoveDown();
            event->accept();
            return;
        }
        const Qt::KeyboardModifiers commands =
            Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
        const QString text = event->text();
        if (!text.isEmpty() && text.front().isPrint() && !(event->modifiers() & commands)) {
            // Typing over a selection of several cells goes to the cell
            // where the selection began.
            if (selectionModel()->selectedIndexes().size() > 1 && m_anchor.isValid() &&
                selectionModel()->isSelected(m_anchor) && m_anchor != currentIndex()) {
                selectionModel()->setCurrentIndex(m_anchor, QItemSelectionModel::NoUpdate);
            }
            const QModelIndex current = currentIndex();
            if (current.isValid() && (current.flags() & Qt::ItemIsEditable)) {
                // AnyKeyPressed hands this key to the new editor. Should the
                // view refuse it, the editor is opened anyway and given the
                // key: a typed key is never dropped.
                if (!edit(current, AnyKeyPressed, event) &&
                    edit(current, AllEditTriggers, nullptr)) {
                    if (QWidget* editor = indexWidget(current)) {
                        QCoreApplication::sendEvent(editor, event);
                    }
                }
            }
            event->accept();
            return;
        }
    }
    QTableView::keyPressEvent(event);
}

bool CGridView::edit(const QModelIndex& index, EditTrigger trigger, QEvent* event)
{
    if (!QTableView::edit(index, trigger, event)) {
        return false;
    }
    if (auto* combo = qobject_cast<QComboBox*>(indexWidget(index));
        combo != nullptr && combo->isEditable() && trigger == AnyKeyPressed) {
        combo->setProperty(kOpenedByTyping, true);
    }
    if (trigger == EditKeyPressed || trigger == DoubleClicked) {
        if (auto* line = qobject_cast<QLineEdit*>(indexWidget(index))) {
            line->deselect();
            line->end(false);
        }
    }
    return true;
}

void CGridView::mousePressEvent(QMouseEvent* event)
{
    m_bPressed = true;
    QTableView::mousePressEvent(event);
    if (!(event->modifiers() & Qt::ShiftModifier)) {
        m_anchor = currentIndex();
    }
}

void CGridView::mouseReleaseEvent(QMouseEvent* event)
{
    QTableView::mouseReleaseEvent(event);
    m_bPressed = false;
}

void CGridView::ApplySizes()
{
    if (m_bApplyingSizes) {
        return;
    }
    m_bApplyingSizes = true;
    const CGridCtrl& g = m_model.Grid();
    const int fixedRows = g.GetFixedRowCount();
    const int fixedCols = g.GetFixedColumnCount();

    int headingWidth = 0;
    for (int c = 0; c < fixedCols; ++c) {
        headingWidth += g.GetColumnWidth(c);
    }
    verticalHeader()->setVisible(fixedCols > 0);
    verticalHeader()->setFixedWidth(headingWidth);
    // Only sections whose size differs are touched: a large grid has many rows.
    for (int c = fixedCols; c < g.GetColumnCount(); ++c) {
        if (horizontalHeader()->sectionSize(c - fixedCols) != g.GetColumnWidth(c)) {
            horizontalHeader()->resizeSection(c - fixedCols, g.GetColumnWidth(c));
        }
    }
    for (int r = fixedRows; r < g.GetRowCount(); ++r) {
        if (verticalHeader()->sectionSize(r - fixedRows) != g.GetRowHeight(r)) {
            verticalHeader()->resizeSection(r - fixedRows, g.GetRowHeight(r));
        }
    }

    // The title row: its grid height, or more where a title wraps.
    int titleHeight = 0;
    for (int r = 0; r < fixedRows; ++r) {
        titleHeight += g.GetRowHeight(r);
    }
    const QFontMetrics metrics(horizontalHeader()->font());
    const int margin =
        2 * style()->pixelMetric(QStyle::PM_HeaderMargin, nullptr, horizontalHeader());
    for (int c = fixedCols; c < g.GetColumnCount(); ++c) {
        const QString title = m_model.headerData(c - fixedCols, Qt::Horizontal).toString();
        const int width = std::max(1, g.GetColumnWidth(c) - margin);
        const QRect text = metrics.boundingRect(QRect(0, 0, width, 10000),
                                                Qt::AlignCenter | Qt::TextWordWrap, title);
        titleHeight = std::max(titleHeight, text.height() + margin);
    }
    horizontalHeader()->setVisible(fixedRows > 0);
    horizontalHeader()->setFixedHeight(titleHeight);
    m_bApplyingSizes = false;
}

void CGridView::OnSectionResized(Qt::Orientation orientation, int section, int newSize)
{
    // A section being hidden (the load grid's total row, shown frozen below
    // the view) reports size 0, which no drag can give (the minimum is 1):
    // the grid keeps its size.
    if (m_bApplyingSizes || newSize == 0) {
        return;
    }
    CGridCtrl& g = m_model.Grid();
    if (orientation == Qt::Horizontal) {
        g.SetColumnWidth(m_model.GridColumn(section), newSize);
    } else {
        g.SetRowHeight(m_model.GridRow(section), newSize);
    }
}

void CGridView::PullSelection()
{
    if (m_bSyncing || m_model.IsChanging()) {
        return;
    }
    m_bSyncing = true;
    const CGridCtrl& g = m_model.Grid();
    QItemSelection selection;
    const CCellRange bounds = g.GetSelectedRange();
    if (bounds.IsValid()) {
        for (int r = bounds.minRow; r <= bounds.maxRow; ++r) {
            // Runs of selected cells along the row.
            int start = -1;
            for (int c = bounds.minCol; c <= bounds.maxCol + 1; ++c) {
                const bool selected = c <= bounds.maxCol && g.IsCellSelected(r, c) &&
                                      m_model.IndexOfCell(r, c).isValid();
                if (selected && start < 0) {
                    start = c;
                } else if (!selected && start >= 0) {
                    selection.select(m_model.IndexOfCell(r, start), m_model.IndexOfCell(r, c - 1));
                    start = -1;
                }
            }
        }
    }
    if (selection != selectionModel()->selection()) {
        selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    }
    const CCellID focus = g.GetFocusCell();
    const QModelIndex current = m_model.IndexOfCell(focus.row, focus.col);
    if (current != currentIndex() && (current.isValid() || state() != EditingState)) {
        selectionModel()->setCurrentIndex(current, QItemSelectionModel::NoUpdate);
    }
    m_bSyncing = false;
}

void CGridView::PushSelection()
{
    if (m_bSyncing || m_model.IsChanging()) {
        return;
    }
    m_bSyncing = true;
    CGridCtrl& g = m_model.Grid();
    const QModelIndexList selected = selectionModel()->selectedIndexes();
    if (selected.isEmpty()) {
        g.ResetSelectedRange();
    } else {
        CCellRange bounds{
            m_model.GridRow(selected.front().row()), m_model.GridColumn(selected.front().column()),
            m_model.GridRow(selected.front().row()), m_model.GridColumn(selected.front().column())};
        for (const QModelIndex& index : selected) {
            bounds.minRow = std::min(bounds.minRow, m_model.GridRow(index.row()));
            bounds.maxRow = std::max(bounds.maxRow, m_model.GridRow(index.row()));
            bounds.minCol = std::min(bounds.minCol, m_model.GridColumn(index.column()));
            bounds.maxCol = std::max(bounds.maxCol, m_model.GridColumn(index.column()));
        }
        const auto area = static_cast<qsizetype>(bounds.maxRow - bounds.minRow + 1) *
                          (bounds.maxCol - bounds.minCol + 1);
        if (area == selected.size()) {
            g.SetSelectedRange(bounds);
        } else {
            g.ResetSelectedRange();
            for (const QModelIndex& index : selected) {
                g.SelectCell(m_model.GridRow(index.row()), m_model.GridColumn(index.column()));
            }
        }
    }
    m_bSyncing = false;
}

void CGridView::PushCurrent(const QModelIndex& current)
{
    if (m_bSyncing || m_model.IsChanging() || !current.isValid()) {
        return;
    }
    m_bSyncing = true;
    m_model.Grid().SetFocusCell(m_model.GridRow(current.row()),
                                m_model.GridColumn(current.column()));
    m_bSyncing = false;
}

}  // namespace loadcal
