#include "tests/dialog_qt/WindowFixture.h"

#include <QtTest>

#include "dialog/qt/QtText.h"

namespace loadcal::test {

bool WindowFixture::OpenWindow()
{
    m_folder = std::make_unique<QTemporaryDir>();
    if (!m_folder->isValid()) {
        return false;
    }
    m_dialog = std::make_unique<CLoadCalDiaog>(ToWString(m_folder->filePath("settings.idp")));
    m_runner = std::make_unique<ScriptedRunner>();
    m_window = std::make_unique<CLoadCalWindow>(*m_dialog, m_runner.get());
    m_window->show();
    m_window->activateWindow();
    return QTest::qWaitForWindowActive(m_window.get());
}

void WindowFixture::CloseWindow()
{
    m_window.reset();
    m_dialog.reset();
    m_runner.reset();
    m_folder.reset();
}

void WindowFixture::SelectRows(CGridView& view, int first, int last)
{
    const CGridModel& model = view.GridModel();
    view.selectionModel()->select(
        QItemSelection(model.IndexOfCell(first, 1), model.IndexOfCell(last, 3)),
        QItemSelectionModel::ClearAndSelect);
    view.selectionModel()->setCurrentIndex(model.IndexOfCell(first, 1),
                                           QItemSelectionModel::NoUpdate);
}

}  // namespace loadcal::test
