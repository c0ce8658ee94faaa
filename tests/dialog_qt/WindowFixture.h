#pragma once

#include <QTemporaryDir>
#include <memory>

#include "dialog/LoadCalDiaog.h"
#include "dialog/qt/GridView.h"
#include "dialog/qt/LoadCalWindow.h"
#include "tests/dialog_qt/ScriptedRunner.h"

namespace loadcal::test {

/// A window over a fresh controller (its settings in a temporary folder)
/// with a scripted answerer for its boxes, shown and active; the base of the
/// window test classes, which open it before and close it after each test.
class WindowFixture {
protected:
    /// Opens the window; false when it could not be made active.
    bool OpenWindow();
    void CloseWindow();

    CGridView& LoadView() const { return m_window->View(GridId::Load); }
    CGridView& TransformerView() const { return m_window->View(GridId::Transformer); }
    CGridCtrl& LoadGrid() const { return m_dialog->GetGrid(GridId::Load); }
    /// Selects the cells of grid rows first..last, columns 1 to 3, in the view.
    static void SelectRows(CGridView& view, int first, int last);

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<CLoadCalDiaog> m_dialog;
    std::unique_ptr<ScriptedRunner> m_runner;
    std::unique_ptr<CLoadCalWindow> m_window;
};

}  // namespace loadcal::test
