#pragma once

#include <QDialog>

class QLabel;
class QPushButton;

namespace loadcal {

/// The about box (template 207): caption, the program icon, the version
/// line, one line saying what the program does, and the button that closes
/// it. Its texts are the controller's (res::AboutBox). Owns its widgets.
class CAboutBox final : public QDialog {
    Q_OBJECT
public:
    explicit CAboutBox(QWidget* parent = nullptr);

    QLabel& Icon() const { return *m_pIcon; }
    QLabel& Version() const { return *m_pVersion; }
    QLabel& Description() const { return *m_pDescription; }
    QPushButton& Button() const { return *m_pButton; }

private:
    QLabel* m_pIcon = nullptr;
    QLabel* m_pVersion = nullptr;
    QLabel* m_pDescription = nullptr;
    QPushButton* m_pButton = nullptr;
};

}  // namespace loadcal
