#pragma once

#include <QDialog>
#include <array>

#include "dialog/EditHistory.h"

class QComboBox;
class QLineEdit;
class QPushButton;

namespace loadcal {

/// The 工程信息 window: one line per field of the project information
/// (工程名称 … 审定), as the title page of the outputs carries them, and the rule
/// set the document is calculated under (本程序原有规则 or GB 51348-2019), with
/// 确定 and 取消. A thin form over a CDocumentProperties value: it shows the
/// value it was given and, after 确定, Properties() is what it shows; the
/// controller decides what follows. Owns its widgets.
class CProjectInfoDialog final : public QDialog {
    Q_OBJECT
public:
    explicit CProjectInfoDialog(const CDocumentProperties& properties, QWidget* parent = nullptr);

    /// The project information as typed and the rule set chosen.
    CDocumentProperties Properties() const;

    QLineEdit& Field(int field) const { return *m_fields.at(static_cast<size_t>(field)); }
    QComboBox& Rules() const { return *m_pRules; }
    QPushButton& OkButton() const { return *m_pOk; }
    QPushButton& CancelButton() const { return *m_pCancel; }

private:
    std::array<QLineEdit*, CProjectInfo::kFieldCount> m_fields{};
    QComboBox* m_pRules = nullptr;
    QPushButton* m_pOk = nullptr;
    QPushButton* m_pCancel = nullptr;
};

}  // namespace loadcal
