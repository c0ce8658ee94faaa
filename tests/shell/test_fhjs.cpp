// FHJS end to end: the window runs on Qt's offscreen platform, a timer plays
// the user inside its modal loop, and the output files are read back.

#include <QAction>
#include <QApplication>
#include <QDoubleSpinBox>
#include <QMenu>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include <fstream>
#include <functional>
#include <sstream>

#include "dialog/LoadCalUi.h"
#include "dialog/qt/GridView.h"
#include "dialog/qt/LoadCalWindow.h"
#include "shell/host/Host.h"
#include "shell/module/FhjsCommand.h"
#include "shell/module/LoadCalModule.h"
#include "tests/dialog_qt/ScriptedRunner.h"
#include "tests/support/Process.h"

using namespace loadcal;

class FhjsTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void cancelProducesNothing();
    void workbookHoldsTheTotalsOfAnEditMadeJustBefore();
    void drawingGoesToTheGivenFileAtTheGivenPoint();
    void drawingAsksBeforeReplacingAFileAndThePointInTheWindow();

private:
    /// Runs FHJS through the host as `loadcal FHJS` does, with `act` played
    /// in the window once it is up; returns the host's exit status.
    int RunFhjs(const std::function<void(CLoadCalWindow&)>& act, const std::string& terminal = {});
    static void Trigger(CLoadCalWindow& window, unsigned id);
    /// Fills the base-point dialog's X, Y and Z and accepts it.
    static test::ScriptedRunner::Answer BasePoint(double x, double y, double z);
    QString File(const QString& name) const { return m_dir->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<test::ScriptedRunner> m_runner;
    FhjsOptions m_options;
    std::string m_out;
};

void FhjsTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_runner = std::make_unique<test::ScriptedRunner>();
    m_options = FhjsOptions();
    m_options.settingsPath = File("settings.idp").toStdWString();
    m_options.runner = m_runner.get();
    m_options.openWorkbook = false;
}

void FhjsTest::cleanup()
{
    SetFhjsOptions(FhjsOptions());
}

int FhjsTest::RunFhjs(const std::function<void(CLoadCalWindow&)>& act, const std::string& terminal)
{
    SetFhjsOptions(m_options);
    QTimer::singleShot(0, this, [&act] {
        auto* window = qobject_cast<CLoadCalWindow*>(QApplication::activeModalWidget());
        QVERIFY(window);
        act(*window);
    });
    std::istringstream in(terminal);
    std::ostringstream out, err;
    CHost host(in, out, err);
    int packet = 0;
    acrxEntryPoint(kInitAppMsg, &packet);
    const bool found = host.RunCommand(L"FHJS");
    acrxEntryPoint(kUnloadAppMsg, &packet);
    m_out = out.str();
    return found ? host.Status() : -1;
}

void FhjsTest::Trigger(CLoadCalWindow& window, unsigned id)
{
    for (QAction* action : window.findChildren<QAction*>()) {
        if (action->data().toUInt() == id && !action->menu()) {
            action->trigger();
            return;
        }
    }
    QFAIL("no action for the command");
}

test::ScriptedRunner::Answer FhjsTest::BasePoint(double x, double y, double z)
{
    return [x, y, z](QDialog& dialog) {
        const double values[3] = {x, y, z};
        const char* names[3] = {"X", "Y", "Z"};
        for (int k = 0; k < 3; ++k) {
            auto* box = dialog.findChild<QDoubleSpinBox*>(QString::fromLatin1(names[k]));
            if (!box || box->value() != 0.0) {  // each starts at 0
                dialog.reject();
                return;
            }
            box->setValue(values[k]);
        }
        dialog.accept();
    };
}

void FhjsTest::cancelProducesNothing()
{
    m_options.workbook = File("t.xlsx").toStdString();
    m_options.drawing = File("t.dxf").toStdString();
    QCOMPARE(RunFhjs([](CLoadCalWindow& window) { window.close(); }), 0);
    QCOMPARE(QString::fromStdString(m_out), QString::fromUtf8("\n*负荷计算*=Fhjs"));
    QVERIFY(!QFile::exists(File("t.xlsx")));
    QVERIFY(!QFile::exists(File("t.dxf")));
    // Exit leaves with IDOK but mode 0: nothing either.
    QCOMPARE(RunFhjs([](CLoadCalWindow& window) { Trigger(window, 6344); }), 0);
    QVERIFY(!QFile::exists(File("t.xlsx")));
    QVERIFY(!QFile::exists(File("t.dxf")));
}

void FhjsTest::workbookHoldsTheTotalsOfAnEditMadeJustBefore()
{
    m_options.workbook = File("t.xlsx").toStdString();
    // The workbook is written while the window stays open, with the edit
    // made just before and without a save question; the status bar names
    // the file. Leaving then asks the save question, answered No.
    m_runner->answers.push_back(test::Click(QMessageBox::No));
    bool stayedOpen = false;
    QString status;
    size_t boxesAfterOutput = 99;
    const int exitStatus = RunFhjs([&](CLoadCalWindow& window) {
        QAbstractItemModel* model = window.View(GridId::Load).model();
        // The entry row (model row 0 of an empty document), rated power column.
        QVERIFY(model->setData(model->index(0, 4), "12.5"));
        Trigger(window, 32773);
        stayedOpen = window.isVisible();
        status = window.StatusBar().currentMessage();
        boxesAfterOutput = m_runner->boxes.size();
        window.close();
    });
    QCOMPARE(exitStatus, 0);
    QVERIFY(stayedOpen);
    QCOMPARE(boxesAfterOutput, size_t(0));
    QVERIFY2(status.contains(File("t.xlsx")), qPrintable(status));
    QCOMPARE(m_runner->boxes.size(), size_t(1));
    QCOMPARE(m_runner->boxes[0].text, QString::fromUtf8("当前文档已经改变,是否保存？"));

    // One circuit: the total row is row 1 + 3 = 4; E holds the rated-power total.
    const auto r = testsupport::RunProcess(
        "/usr/bin/python3",
        {"-c",
         "import openpyxl,sys; ws=openpyxl.load_workbook(sys.argv[1]).active; "
         "print(ws['B4'].value, ws['E4'].value, ws['I4'].value, ws['A6'].value)",
         File("t.xlsx").toStdString()});
    QCOMPARE(r.status, 0);
    QCOMPARE(QString::fromStdString(r.out), QString::fromUtf8("总计 12.5 12.5 变压器名称\n"));
}

void FhjsTest::drawingGoesToTheGivenFileAtTheGivenPoint()
{
    m_options.drawing = File("t.dxf").toStdString();
    m_options.base = CadPoint{100, 200, 0};
    m_options.scale = 2;
    bool stayedOpen = false;
    QCOMPARE(RunFhjs([&](CLoadCalWindow& window) {
                 Trigger(window, 32772);
                 stayedOpen = window.isVisible();
                 window.close();
             }),
             0);
    QVERIFY(stayedOpen);
    QVERIFY(m_runner->boxes.empty());
    const auto r = testsupport::RunProcess(
        "/usr/bin/python3",
        {"-c",
         "import ezdxf.recover,sys; doc,_=ezdxf.recover.readfile(sys.argv[1]); "
         "t=[e for e in doc.modelspace() if e.dxftype()=='TEXT' and e.dxf.text=='回路编号'][0]; "
         "print(t.dxf.layer, t.dxf.height, t.dxf.align_point.x, t.dxf.align_point.y)",
         File("t.dxf").toStdString()});
    QCOMPARE(r.status, 0);
    // Scale 2: cells 60 x 20, text height 7, the first title at the first cell's centre.
    QCOMPARE(QString::fromStdString(r.out), QString("CALCULATIONS 7.0 130.0 190.0\n"));
}

void FhjsTest::drawingAsksBeforeReplacingAFileAndThePointInTheWindow()
{
    m_options.drawing = File("t.dxf").toStdString();
    {
        std::ofstream(File("t.dxf").toStdString()) << "previous";
    }
    const auto content = [this] {
        std::ifstream in(File("t.dxf").toStdString());
        return std::string((std::istreambuf_iterator<char>(in)), {});
    };
    // Each attempt runs in the same window, which stays open after each.
    int visibleAfter = 0;
    QStringList statuses;
    // Replacing refused: the file stays and no point is asked.
    m_runner->answers.push_back(test::Click(QMessageBox::No));
    // Replacing allowed, the base-point dialog cancelled: the file stays.
    m_runner->answers.push_back(test::Click(QMessageBox::Yes));
    m_runner->answers.push_back([](QDialog& dialog) { dialog.reject(); });
    // Replacing allowed, the point given in the dialog: drawn there.
    m_runner->answers.push_back(test::Click(QMessageBox::Yes));
    m_runner->answers.push_back(BasePoint(10, 20, 0));
    std::string afterRefusal, afterCancel;
    QCOMPARE(RunFhjs([&](CLoadCalWindow& window) {
                 Trigger(window, 32772);
                 afterRefusal = content();
                 visibleAfter += window.isVisible() ? 1 : 0;
                 statuses.append(window.StatusBar().currentMessage());
                 Trigger(window, 32772);
                 afterCancel = content();
                 visibleAfter += window.isVisible() ? 1 : 0;
                 statuses.append(window.StatusBar().currentMessage());
                 Trigger(window, 32772);
                 visibleAfter += window.isVisible() ? 1 : 0;
                 statuses.append(window.StatusBar().currentMessage());
                 window.close();
             }),
             0);
    QCOMPARE(afterRefusal, std::string("previous"));
    QCOMPARE(afterCancel, std::string("previous"));
    QCOMPARE(visibleAfter, 3);
    QCOMPARE(m_runner->dialogs, 5);
    QVERIFY(m_runner->answers.empty());
    QVERIFY(statuses[0].isEmpty());
    QVERIFY(statuses[1].isEmpty());
    QVERIFY2(statuses[2].contains(File("t.dxf")), qPrintable(statuses[2]));
    // Nothing is asked on the terminal.
    QVERIFY(m_out.find("基点") == std::string::npos);

    // Scale 1: cells 30 x 10, the first title at the first cell's centre.
    const auto r = testsupport::RunProcess(
        "/usr/bin/python3",
        {"-c",
         "import ezdxf.recover,sys; doc,_=ezdxf.recover.readfile(sys.argv[1]); "
         "t=[e for e in doc.modelspace() if e.dxftype()=='TEXT' and e.dxf.text=='回路编号'][0]; "
         "print(t.dxf.align_point.x, t.dxf.align_point.y)",
         File("t.dxf").toStdString()});
    QCOMPARE(r.status, 0);
    QCOMPARE(QString::fromStdString(r.out), QString("25.0 15.0\n"));
}

QTEST_MAIN(FhjsTest)
#include "test_fhjs.moc"
