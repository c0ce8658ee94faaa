#include "dialog/qt/ChoicePopup.h"

#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QListWidget>
#include <QScreen>
#include <QVBoxLayout>
#include <algorithm>

#include "dialog/LoadCalTexts.h"
#include "dialog/qt/QtText.h"

namespace loadcal {

CChoicePopup::CChoicePopup(const std::vector<std::wstring>& names, const std::vector<bool>& marks,
                           size_t boardCount, QWidget* parent)
    : QDialog(parent, Qt::Popup)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->setSpacing(2);

    m_pList = new QListWidget(this);
    m_pList->setSelectionMode(QAbstractItemView::SingleSelection);
    const auto heading = [this](std::wstring_view text) {
        auto* item = new QListWidgetItem(ToQString(text), m_pList);
        item->setFlags(Qt::ItemIsEnabled);
        QFont bold = item->font();
        bold.setBold(true);
        item->setFont(bold);
        item->setData(Qt::UserRole, true);
    };
    for (size_t i = 0; i < names.size(); ++i) {
        if (boardCount > 0 && i == 0) {
            heading(texts::kChoiceBoards);
        }
        if (boardCount > 0 && i == boardCount) {
            heading(texts::kChoiceTransformers);
        }
        auto* item = new QListWidgetItem(ToQString(names[i]), m_pList);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
        item->setCheckState(i < marks.size() && marks[i] ? Qt::Checked : Qt::Unchecked);
    }
    const int rows = std::clamp(m_pList->count(), 1, 12);
    m_pList->setFixedHeight(rows * m_pList->fontMetrics().height() * 3 / 2 +
                            2 * m_pList->frameWidth());
    layout->addWidget(m_pList);

    m_pButtons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(m_pButtons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(m_pButtons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(m_pButtons);
    for (int i = 0; i < m_pList->count(); ++i) {
        if (!m_pList->item(i)->data(Qt::UserRole).toBool()) {
            m_pList->setCurrentRow(i);
            break;
        }
    }
    m_pList->setFocus();
}

void CChoicePopup::PlaceAt(const QPoint& globalTopLeft, int width)
{
    adjustSize();
    const QSize size(std::max(width, sizeHint().width()), sizeHint().height());
    QPoint at = globalTopLeft;
    if (const QScreen* screen = QGuiApplication::screenAt(globalTopLeft)) {
        const QRect area = screen->availableGeometry();
        at.setX(
            std::clamp(at.x(), area.left(), std::max(area.left(), area.right() - size.width())));
        at.setY(
            std::clamp(at.y(), area.top(), std::max(area.top(), area.bottom() - size.height())));
    }
    setGeometry(QRect(at, size));
}

std::vector<std::wstring> CChoicePopup::MarkedNames() const
{
    std::vector<std::wstring> names;
    for (int i = 0; i < m_pList->count(); ++i) {
        const QListWidgetItem* item = m_pList->item(i);
        if ((item->flags() & Qt::ItemIsUserCheckable) && item->checkState() == Qt::Checked) {
            names.push_back(ToWString(item->text()));
        }
    }
    return names;
}

}  // namespace loadcal
