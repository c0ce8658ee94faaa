// A screenshot of the window with the bundled example with distribution
// boards, opened as a user opens it (File > Open), at a desktop size: the
// supply tree beside the three grids, the fire case's columns.
#include <QFontDatabase>
#include <QFontInfo>
#include <QMenu>
#include <QMenuBar>
#include <QTemporaryDir>
#include <QtTest>
#include <memory>

#include <QTreeWidget>
#include "dialog/LoadCalResources.h"
#include "dialog/qt/LoadCalWindow.h"
#include "dialog/qt/QtText.h"
#include "tests/dialog_qt/ScriptedRunner.h"

using namespace loadcal;

/// Opens the boards example in the window and writes loadcal-window.png into
/// the build folder.
class ScreenshotTest : public QObject {
    Q_OBJECT

private slots:
    void theWindowShowsTheBundledExample();
};

void ScreenshotTest::theWindowShowsTheBundledExample()
{
    QTemporaryDir folder;
    QVERIFY(folder.isValid());
    const QString example =
        QStringLiteral(LOADCAL_SOURCE_DIR "/examples/office-building-boards.LDC");
    const QString archive = folder.filePath("office-building-boards.LDC");
    QVERIFY(QFile::copy(example, archive));

    CLoadCalDiaog dialog(ToWString(folder.filePath("settings.idp")));
    test::ScriptedRunner runner;
    CLoadCalWindow window(dialog, &runner);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    // The dialog font shows Chinese: "宋体" or the CJK font standing in for it.
    const QString family = QFontInfo(window.font()).family();
    QVERIFY2(QFontDatabase::writingSystems(family).contains(QFontDatabase::SimplifiedChinese),
             qPrintable(family));

    runner.answers.push_back(test::ChooseFile(archive));
    QMenu& file = *window.MenuBar().actions().at(0)->menu();
    emit file.aboutToShow();
    file.actions().at(1)->trigger();  // 打开(&O)...
    QCOMPARE(dialog.GetFilePath(), ToWString(archive));
    QVERIFY(dialog.GetLoads().GetSize() > 20);
    QCOMPARE(window.windowTitle(),
             QStringLiteral("需要系数法负荷计算『") + archive + QStringLiteral("』[*]"));

    // The tree beside the grids holds every board; 全部 is current.
    QCOMPARE(window.SupplyTree().currentItem(), window.SupplyItem(0));
    QCOMPARE(static_cast<size_t>(window.SupplyTree().topLevelItem(0)->childCount()), size_t{2});

    window.resize(1400, 820);
    QTRY_COMPARE(window.size(), QSize(1400, 820));
    window.SetBoardHeight(190);
    QApplication::processEvents();

    const QImage shot = window.grab().toImage();
    QCOMPARE(shot.size(), QSize(1400, 820));
    // The computed cells show their yellow and the grid its titles' colour.
    qsizetype yellow = 0;
    for (int y = 0; y < shot.height(); ++y) {
        for (int x = 0; x < shot.width(); ++x) {
            yellow += shot.pixelColor(x, y) == QColor(255, 255, 128) ? 1 : 0;
        }
    }
    QVERIFY2(yellow > 20000, qPrintable(QString::number(yellow)));
    const QString path = QStringLiteral(LOADCAL_BINARY_DIR "/loadcal-window.png");
    QVERIFY(shot.save(path));
    qInfo("screenshot: %s", qPrintable(path));
}

QTEST_MAIN(ScreenshotTest)
#include "test_screenshot.moc"
