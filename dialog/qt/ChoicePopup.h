#pragma once

#include <QDialog>
#include <string>
#include <vector>

class QDialogButtonBox;
class QListWidget;

namespace loadcal {

/// The owner choice list: a small popup window over an owner cell with one
/// checkable line per name. When boards are offered, the first boardCount
/// names are boards', under the heading "配电箱", and the rest transformers',
/// under "变压器" (headings are not names and cannot be marked). The user
/// marks any number of names (a click on the box, or Space) and confirms
/// with OK or Enter (accepted) or dismisses the list (Cancel, Escape or a
/// click outside: rejected). Owns its widgets; the names are copied in.
class CChoicePopup final : public QDialog {
    Q_OBJECT
public:
    CChoicePopup(const std::vector<std::wstring>& names, const std::vector<bool>& marks,
                 size_t boardCount = 0, QWidget* parent = nullptr);

    /// Shows the list with its top-left corner at a global position, at
    /// least `width` pixels wide, kept on the screen.
    void PlaceAt(const QPoint& globalTopLeft, int width);
    /// The marked names in list order.
    std::vector<std::wstring> MarkedNames() const;

    QListWidget& List() const { return *m_pList; }
    QDialogButtonBox& Buttons() const { return *m_pButtons; }

private:
    QListWidget* m_pList = nullptr;
    QDialogButtonBox* m_pButtons = nullptr;
};

}  // namespace loadcal
