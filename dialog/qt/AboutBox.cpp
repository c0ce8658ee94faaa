#include "dialog/qt/AboutBox.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "dialog/LoadCalResources.h"
#include "dialog/qt/Icons.h"
#include "dialog/qt/QtSession.h"
#include "dialog/qt/QtText.h"

namespace loadcal {

CAboutBox::CAboutBox(QWidget* parent) : QDialog(parent)
{
    const res::CAboutBox texts = res::AboutBox();
    setWindowTitle(ToQString(texts.caption));
    setFont(DialogFont());

    m_pIcon = new QLabel(this);
    m_pIcon->setPixmap(ApplicationIcon(32));
    m_pIcon->setAlignment(Qt::AlignTop | Qt::AlignHCenter);
    m_pVersion = new QLabel(ToQString(texts.version), this);
    m_pDescription = new QLabel(ToQString(texts.description), this);
    m_pButton = new QPushButton(ToQString(texts.button), this);
    m_pButton->setDefault(true);
    connect(m_pButton, &QPushButton::clicked, this, &QDialog::accept);

    auto* lines = new QVBoxLayout;
    lines->addWidget(m_pVersion);
    lines->addWidget(m_pDescription);
    lines->addStretch();
    auto* button = new QVBoxLayout;
    button->addWidget(m_pButton);
    button->addStretch();
    auto* layout = new QHBoxLayout(this);
    layout->addWidget(m_pIcon);
    layout->addLayout(lines, 1);
    layout->addLayout(button);

    // At least the template's size.
    const CRect pixels = MapDialogRect(res::kAboutTemplate);
    const QSize size = sizeHint().expandedTo(QSize(pixels.Width(), pixels.Height()));
    setFixedSize(size);
}

}  // namespace loadcal
