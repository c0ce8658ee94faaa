#include "dialog/qt/ChoicePopup.h"

#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QListWidget>
#include <QScreen>
#include <QVBoxLayout>
#include <algorithm>

#include "dialog/qt/QtText.h"

namespace loadcal {

CChoicePopup::CChoicePopup(const std::vector<std::wstring>& names, const std::vector<bool>& marks,
                           QWidget* parent)
    : QDialog(parent, Qt::Popup)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->setSpacing(2);

    m_pList = new QListWidget(this);
    m_pList->setSelectionMode(QAbstractItemView::SingleSelection);
    for (size_t i = 0; i < names.size(); ++i) {
        auto* item = new QListWidgetItem(ToQString(names[i]), m_pList);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
        item->setCheckState(i < marks.size() && marks[i] ? Qt::Checked : Qt::Unchecked);
    }
    const int rows = std::clamp(static_cast<int>(names.size()), 1, 8);
    m_pList->setFixedHeight(rows * m_pList->fontMetrics().height() * 3 / 2 +
                            2 * m_pList->frameWidth());
    layout->addWidget(m_pList);

    m_pButtons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(m_pButtons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(m_pButtons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(m_pButtons);
    if (m_pList->count() > 0) {
        m_pList->setCurrentRow(0);
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
        if (item->checkState() == Qt::Checked) {
            names.push_back(ToWString(item->text()));
        }
    }
    return names;
}

}  // namespace loadcal
