#include "dialog/qt/ProjectInfoDialog.h"

#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "dialog/LoadCalTexts.h"
#include "dialog/qt/QtSession.h"
#include "dialog/qt/QtText.h"

namespace loadcal {

CProjectInfoDialog::CProjectInfoDialog(const CDocumentProperties& properties, QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                          Qt::WindowCloseButtonHint)
{
    setWindowTitle(ToQString(texts::kProjectInfoTitle));
    setFont(DialogFont());

    auto* form = new QFormLayout;
    for (int f = 0; f < CProjectInfo::kFieldCount; ++f) {
        auto* edit = new QLineEdit(ToQString(properties.project.FieldAt(f)), this);
        edit->setMinimumWidth(360);
        m_fields.at(static_cast<size_t>(f)) = edit;
        form->addRow(ToQString(kProjectFieldLabels.at(static_cast<size_t>(f))), edit);
    }
    m_pRules = new QComboBox(this);
    m_pRules->addItem(ToQString(texts::kRulesOriginalText));
    m_pRules->addItem(ToQString(texts::kRulesGB51348Text));
    m_pRules->setCurrentIndex(properties.rules == CalcRules::GB51348_2019 ? 1 : 0);
    form->addRow(ToQString(texts::kRulesLabel), m_pRules);

    m_pOk = new QPushButton(ToQString(texts::kButtonOk), this);
    m_pCancel = new QPushButton(ToQString(texts::kButtonCancel), this);
    m_pOk->setDefault(true);
    connect(m_pOk, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_pCancel, &QPushButton::clicked, this, &QDialog::reject);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_pOk);
    buttons->addWidget(m_pCancel);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addLayout(buttons);
}

CDocumentProperties CProjectInfoDialog::Properties() const
{
    CDocumentProperties properties;
    for (int f = 0; f < CProjectInfo::kFieldCount; ++f) {
        properties.project.FieldAt(f) = ToWString(Field(f).text());
    }
    properties.rules =
        m_pRules->currentIndex() == 1 ? CalcRules::GB51348_2019 : CalcRules::Original;
    return properties;
}

}  // namespace loadcal
