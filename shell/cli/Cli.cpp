#include "shell/cli/Cli.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <istream>
#include <optional>
#include <ostream>

#include "balancing/Extremum.h"
#include "balancing/HeadlessPhaseBalanceHost.h"
#include "balancing/PhaseBalancing.h"
#include "document/DocumentError.h"
#include "document/JsonDocument.h"
#include "document/LoadTypeFile.h"
#include "document/RecentFiles.h"
#include "model/BoardGraph.h"
#include "model/Calculation.h"
#include "model/Checks.h"
#include "model/LoadTypes.h"
#include "model/Text.h"
#include "output/DrawingExport.h"
#include "output/ExcelExport.h"
#include "output/OutputError.h"
#include "output/PointSource.h"
#include "output/report/CalculationBook.h"
#include "shell/cli/CliError.h"
#include "shell/cli/DocumentFiles.h"
#include "shell/cli/TextTable.h"
#include "shell/host/Host.h"
#include "shell/module/FhjsCommand.h"
#include "shell/module/LoadCalModule.h"

namespace loadcal {
namespace {

/// Streams and the action the parser chose; each subcommand's options live here.
struct CliRun {
    CliRun(std::istream& i, std::ostream& o, std::ostream& e) : in(i), out(o), err(e) {}

    std::istream& in;
    std::ostream& out;
    std::ostream& err;
    std::function<void()> action;

    std::string input;
    std::string output;
    bool json = false;

    std::string xlsx;
    std::string dxf;
    std::string pdf;
    std::string base;
    double scale = 1.0;
    bool force = false;
    std::string outDir = "loadcal-demo";
    std::optional<std::uint64_t> seed;
    /// The exit status of a subcommand that did its work but met a problem
    /// it reported on `err` (kExitOk otherwise).
    int status = kExitOk;
};

/// A drawing scale factor must be a finite number above zero.
const CLI::Validator kPositiveScale(
    [](const std::string& text) {
        char* end = nullptr;
        const double v = std::strtod(text.c_str(), &end);
        return (end != text.c_str() && *end == '\0' && std::isfinite(v) && v > 0)
                   ? std::string()
                   : "expected a number above 0, found \"" + text + "\"";
    },
    "S > 0");

/// The generations of one phase search, as the dialog runs it.
constexpr int kGenerations = 1000;

/// Runs the phase-balancing command on a document as the dialog's toolbar
/// button does, without a window, and recalculates its boards and
/// transformers under its rules; returns the report, one block per owner
/// group with single-phase circuits ("" when there is none).
std::wstring BalancePhases(CLoadCalDocument& doc, std::optional<std::uint64_t> seed)
{
    const auto search = CreatePhaseSearch();
    if (seed) {
        search->SetSeed(*seed);
    }
    CHeadlessPhaseBalanceHost host(doc);
    RunPhaseBalancing(doc.loads, StandardPhaseList(), *search, kGenerations, host, doc.boards);
    return host.ReportShown() ? host.Report() : std::wstring();
}

/// Checks the kinds of the input and (when given) output files before
/// anything is read, then reads the input document.
CLoadCalDocument ReadInput(const CliRun& run)
{
    DocumentKindOf(run.input);
    if (!run.output.empty()) {
        DocumentKindOf(run.output);
    }
    CLoadCalDocument doc;
    ReadDocument(run.input, doc);
    return doc;
}

/// The load-type library: the shipped one with the user library of the
/// settings folder laid over it. A user library that is refused is named on
/// `err` with its line and reason, and the shipped library is used alone.
CLoadTypeLibrary ReadLoadTypeLibrary(CliRun& run, bool userErrorFails)
{
    const std::wstring userPath = UserLoadTypesPath(CLoadCalRecentFiles::DefaultSettingsPath());
    CLoadTypeLibraryLoad load = LoadLoadTypeLibrary(userPath);
    if (load.userError) {
        run.err << "loadcal: " << *load.userError
                << "; the user library is not used, only the shipped one\n";
        if (userErrorFails) {
            run.status = kExitIo;
        }
    }
    return std::move(load.library);
}

/// Fills the empty demand and power factors of the circuits that name a
/// load type from the library, which is returned for the checks. Documents
/// without types never read it (nothing is returned).
std::optional<CLoadTypeLibrary> FillFiguresFromTypes(CliRun& run, CLoadCalDocument& doc)
{
    const bool typed = std::any_of(doc.loads.begin(), doc.loads.end(), [](const CLoadCalData& c) {
        return !Trim(c.m_strLoadType).empty();
    });
    if (!typed) {
        return std::nullopt;
    }
    CLoadTypeLibrary library = ReadLoadTypeLibrary(run, false);
    FillFromLoadTypes(doc, library);
    return library;
}

/// A document whose boards own each other in a cycle cannot be calculated:
/// DocumentError naming the file and the boards of one cycle.
void RefuseBoardCycle(const CliRun& run, const CLoadCalDocument& doc)
{
    const std::vector<int> cycle = FindBoardCycle(doc.boards);
    if (!cycle.empty()) {
        throw DocumentError(run.input +
                            ": the boards' owner lists form a cycle, which cannot be calculated: " +
                            ToUtf8(CycleText(BoardNames(doc.boards, cycle))));
    }
}

void AddConvert(CLI::App& app, CliRun& run)
{
    auto* cmd =
        app.add_subcommand("convert", "Convert a document between a .LDC archive and .json");
    cmd->add_option("IN", run.input, "document to read (.LDC or .json)")->required();
    cmd->add_option("OUT", run.output, "document to write (.LDC or .json)")->required();
    cmd->callback([&run] {
        run.action = [&run] {
            WriteDocument(run.output, ReadInput(run));
        };
    });
}

void PrintDocument(CliRun& run, const CLoadCalDocument& doc, const SummaryTotals& totals)
{
    if (run.json) {
        run.out << DocumentToJson(doc, totals);
    } else {
        PrintDocumentTables(run.out, doc, totals);
    }
}

void AddCalc(CLI::App& app, CliRun& run)
{
    auto* cmd = app.add_subcommand("calc", "Recalculate a document and print it");
    cmd->add_option("IN", run.input, "document to read (.LDC or .json)")->required();
    cmd->add_option("-o,--output", run.output, "write the recalculated document (.LDC or .json)");
    cmd->add_flag("--json", run.json, "print the document as JSON instead of tables");
    cmd->callback([&run] {
        run.action = [&run] {
            CLoadCalDocument doc = ReadInput(run);
            const std::optional<CLoadTypeLibrary> library = FillFiguresFromTypes(run, doc);
            RefuseBoardCycle(run, doc);
            const SummaryTotals totals = RecalculateDocument(doc);
            if (!run.output.empty()) {
                WriteDocument(run.output, doc);
            }
            // The document's problems, as the window marks them.
            std::vector<std::wstring> warnings;
            for (const CCheckWarning& w : CheckDocument(doc, library ? &*library : nullptr)) {
                warnings.push_back(w.text);
                run.err << "warning: " << ToUtf8(w.text) << "\n";
            }
            if (run.json) {
                run.out << DocumentToJson(doc, totals, &warnings);
            } else {
                PrintDocument(run, doc, totals);
            }
        };
    });
}

void AddTypes(CLI::App& app, CliRun& run)
{
    auto* cmd = app.add_subcommand(
        "types", "List the load-type library: the shipped types and the user library's");
    cmd->add_flag("--json", run.json, "print the library as a JSON list");
    cmd->callback([&run] {
        run.action = [&run] {
            const CLoadTypeLibrary library = ReadLoadTypeLibrary(run, true);
            if (run.json) {
                run.out << LoadTypesListJson(library);
            } else {
                PrintLoadTypes(run.out, library);
            }
        };
    });
}

void AddBalance(CLI::App& app, CliRun& run)
{
    auto* cmd = app.add_subcommand(
        "balance", "Spread each owner group's single-phase circuits over L1, L2, L3 and report");
    cmd->add_option("IN", run.input, "document to read (.LDC or .json)")->required();
    cmd->add_option("-o,--output", run.output, "write the balanced document (.LDC or .json)");
    cmd->add_flag("--json", run.json, "print the balanced document as JSON after the report");
    cmd->add_option("--seed", run.seed, "seed of the genetic search (default: fixed)");
    cmd->callback([&run] {
        run.action = [&run] {
            CLoadCalDocument doc = ReadInput(run);
            RefuseBoardCycle(run, doc);
            run.out << ToUtf8(BalancePhases(doc, run.seed));
            if (!run.output.empty()) {
                WriteDocument(run.output, doc);
            }
            if (run.json) {
                run.out << DocumentToJson(doc, ComputeTotals(doc));
            }
        };
    });
}

void AddExport(CLI::App& app, CliRun& run)
{
    auto* cmd = app.add_subcommand(
        "export", "Write a document's tables as an .xlsx workbook or a .dxf drawing, as it stands");
    cmd->add_option("IN", run.input, "document to read (.LDC or .json)")->required();
    auto* xlsx = cmd->add_option("--xlsx", run.xlsx, "workbook to write");
    auto* dxf = cmd->add_option("--dxf", run.dxf, "drawing to write (DXF R2000)");
    xlsx->excludes(dxf);
    cmd->add_option("--base", run.base, "base point X,Y[,Z] of the tables (else asked)");
    cmd->add_option("--scale", run.scale, "drawing scale factor (default 1)")
        ->check(kPositiveScale);
    cmd->add_flag("--force", run.force, "replace an existing drawing");
    cmd->callback([&run] {
        run.action = [&run] {
            if (run.xlsx.empty() == run.dxf.empty()) {
                throw UsageError("export needs one of --xlsx OUT.xlsx or --dxf OUT.dxf");
            }
            std::optional<CadPoint> base;
            if (!run.base.empty() && !(base = ParsePoint(run.base))) {
                throw UsageError("--base " + run.base + ": expected X,Y or X,Y,Z");
            }
            const CLoadCalDocument doc = ReadInput(run);
            const SummaryTotals totals = ComputeTotals(doc);
            if (!run.xlsx.empty()) {
                WriteWorkbook(run.xlsx, doc, totals);
                return;
            }
            CTerminalPointSource terminal(run.in, run.out);
            CFixedPointSource given(base);
            IPointSource& points = base ? static_cast<IPointSource&>(given) : terminal;
            const auto result = ExportDrawing(
                doc, totals, {run.dxf, run.scale, run.force, doc.project.Name()}, points, &run.out);
            if (result == DrawingExportResult::Declined) {
                run.out << "\nloadcal: no base point was given; nothing was drawn\n";
            }
        };
    });
}

void AddReport(CLI::App& app, CliRun& run)
{
    auto* cmd = app.add_subcommand(
        "report", "Recalculate a document and write its calculation book (计算书) as a PDF");
    cmd->add_option("IN", run.input, "document to read (.LDC or .json)")->required();
    cmd->add_option("--pdf", run.pdf, "calculation book to write (.pdf)")->required();
    cmd->callback([&run] {
        run.action = [&run] {
            CLoadCalDocument doc = ReadInput(run);
            // Boards on a cycle have no figures to show.
            RefuseBoardCycle(run, doc);
            // The book shows figures that follow from the inputs, and cites
            // the library they were filled from.
            const std::optional<CLoadTypeLibrary> library = FillFiguresFromTypes(run, doc);
            RecalculateDocument(doc);
            WriteCalculationBook(run.pdf, doc,
                                 {BookProjectName(FromUtf8(run.input)),
                                  {},
                                  doc.project,
                                  library ? &*library : nullptr});
        };
    });
}

void AddDemo(CLI::App& app, CliRun& run)
{
    auto* cmd = app.add_subcommand(
        "demo",
        "Recalculate and balance the bundled example, print it, write its workbook, drawing and "
        "calculation book");
    cmd->add_flag("--json", run.json, "print the document as JSON instead of tables");
    cmd->add_option("--out-dir", run.outDir, "folder for the workbook, the drawing and the book")
        ->capture_default_str();
    cmd->callback([&run] {
        run.action = [&run] {
            CLoadCalDocument doc;
            DocumentFromJson(std::string_view(BundledExample(), BundledExampleSize()),
                             "bundled example", doc);
            RecalculateDocument(doc);
            const std::wstring report = BalancePhases(doc, std::nullopt);
            const SummaryTotals totals = ComputeTotals(doc);
            PrintDocument(run, doc, totals);
            if (!run.json) {
                run.out << "\n调整相位\n" << ToUtf8(report);
            }

            const std::filesystem::path dir(run.outDir);
            std::error_code ec;
            std::filesystem::create_directories(dir, ec);
            if (ec) {
                throw DocumentError(run.outDir + ": cannot create the folder: " + ec.message());
            }
            WriteWorkbook(dir / "office-building.xlsx", doc, totals);
            CFixedPointSource origin(CadPoint{0, 0, 0});
            ExportDrawing(doc, totals, {dir / "office-building.dxf", 1.0, true, doc.project.Name()},
                          origin);
            WriteCalculationBook(dir / "office-building.pdf", doc,
                                 {L"office-building", {}, doc.project});
            if (!run.json) {
                run.out << "\n"
                        << (dir / "office-building.xlsx").string() << "\n"
                        << (dir / "office-building.dxf").string() << "\n"
                        << (dir / "office-building.pdf").string() << "\n";
            }
        };
    });
}

/// The subcommands of the command line; any other first word is a command
/// of the module, run by the host.
bool IsSubcommand(const std::string& word)
{
    for (const char* name : {"convert", "calc", "types", "balance", "export", "report", "demo"}) {
        if (word == name) {
            return true;
        }
    }
    return word == "-h" || word == "--help" || word == "--help-all";
}

/// The host: loads the module, runs one typed command by its registered name
/// (FHJS when none is given) and unloads the module.
int RunHostCommand(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
                   std::ostream& err)
{
    std::string name = "FHJS";
    std::vector<std::string> rest = args;
    if (!rest.empty() && rest.front().rfind('-', 0) != 0) {
        name = rest.front();
        rest.erase(rest.begin());
    }
    CLI::App app{
        "loadcal [COMMAND] [options]: run a command of the load-calculation module "
        "(FHJS opens the calculation window)",
        "loadcal"};
    std::string drawing, workbook, base;
    double scale = 1.0;
    bool noOpen = false;
    app.add_option("--drawing", drawing, "drawing file for the output \"绘制到Acad\" (else asked)");
    app.add_option("--xlsx", workbook,
                   "workbook file for the output \"输出到Excell\" (else asked)");
    app.add_option("--base", base, "base point X,Y[,Z] of the drawn tables (else asked)");
    app.add_option("--scale", scale, "drawing scale factor")->check(kPositiveScale);
    app.add_flag("--no-open", noOpen,
                 "do not open the workbook or the calculation book in the desktop's application");
    std::vector<std::string> reversed(rest.rbegin(), rest.rend());
    try {
        app.parse(reversed);
    } catch (const CLI::ParseError& e) {
        err << "loadcal: " << e.what() << "\n";
        return kExitUsage;
    }
    FhjsOptions options;
    if (!drawing.empty()) {
        options.drawing = drawing;
    }
    if (!workbook.empty()) {
        options.workbook = workbook;
    }
    if (!base.empty() && !(options.base = ParsePoint(base))) {
        err << "loadcal: --base " << base << ": expected X,Y or X,Y,Z\n";
        return kExitUsage;
    }
    options.scale = scale;
    options.openWorkbook = !noOpen;
    SetFhjsOptions(options);

    CHost host(in, out, err);
    int appPacket = 0;
    acrxEntryPoint(kInitAppMsg, &appPacket);
    const bool found = host.RunCommand(FromUtf8(name));
    acrxEntryPoint(kUnloadAppMsg, &appPacket);
    out << "\n";  // the command line's next prompt starts on a line of its own
    out.flush();
    if (!found) {
        err << "loadcal: unknown command \"" << name
            << "\" (commands: FHJS, sample; subcommands: convert, calc, types, balance, export, "
               "report, demo)\n";
        return kExitUsage;
    }
    return host.Status();
}

}  // namespace

int RunCommandLine(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
                   std::ostream& err)
{
    if (args.empty() || !IsSubcommand(args.front())) {
        return RunHostCommand(args, in, out, err);
    }
    CliRun run(in, out, err);
    CLI::App app{"loadcal: demand-factor load calculation of a building's power distribution",
                 "loadcal"};
    app.require_subcommand(1);
    AddConvert(app, run);
    AddCalc(app, run);
    AddTypes(app, run);
    AddBalance(app, run);
    AddExport(app, run);
    AddReport(app, run);
    AddDemo(app, run);

    std::vector<std::string> reversed(args.rbegin(), args.rend());
    try {
        app.parse(reversed);
    } catch (const CLI::CallForHelp&) {
        out << app.help();
        return kExitOk;
    } catch (const CLI::CallForAllHelp&) {
        out << app.help("", CLI::AppFormatMode::All);
        return kExitOk;
    } catch (const CLI::ParseError& e) {
        err << "loadcal: " << e.what() << "\n"
            << "Run 'loadcal --help' for usage.\n";
        return kExitUsage;
    }
    try {
        run.action();
    } catch (const UsageError& e) {
        err << "loadcal: " << e.what() << "\n";
        return kExitUsage;
    } catch (const DocumentError& e) {
        err << "loadcal: " << e.what() << "\n";
        return kExitIo;
    } catch (const OutputError& e) {
        err << "loadcal: " << e.what();
        if (e.GetKind() == OutputError::Kind::FileExists) {
            err << " (use --force to replace it)";
        }
        err << "\n";
        return kExitIo;
    }
    out.flush();
    if (!out) {
        err << "loadcal: cannot write to standard output\n";
        return kExitIo;
    }
    return run.status;
}

}  // namespace loadcal
