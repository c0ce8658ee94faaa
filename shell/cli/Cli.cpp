#include "shell/cli/Cli.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <istream>
#include <ostream>

#include "document/DocumentError.h"
#include "document/JsonDocument.h"
#include "model/Calculation.h"
#include "shell/cli/CliError.h"
#include "shell/cli/DocumentFiles.h"
#include "shell/cli/TextTable.h"

namespace loadcal {
namespace {

/// Streams and the action the parser chose; each subcommand's options live here.
struct CliRun {
    std::istream& in;
    std::ostream& out;
    std::ostream& err;
    std::function<void()> action;

    std::string input;
    std::string output;
    bool json = false;
};

void AddConvert(CLI::App& app, CliRun& run)
{
    auto* cmd = app.add_subcommand("convert", "Convert a document between a .LDC archive and .json");
    cmd->add_option("IN", run.input, "document to read (.LDC or .json)")->required();
    cmd->add_option("OUT", run.output, "document to write (.LDC or .json)")->required();
    cmd->callback([&run] {
        run.action = [&run] {
            DocumentKindOf(run.input);
            DocumentKindOf(run.output);
            CLoadArray loads;
            CTransformerArray transformers;
            ReadDocument(run.input, loads, transformers);
            WriteDocument(run.output, loads, transformers);
        };
    });
}

void PrintDocument(CliRun& run, const CLoadArray& loads, const CTransformerArray& transformers,
                   const SummaryTotals& totals)
{
    if (run.json) {
        run.out << DocumentToJson(loads, transformers, totals);
    } else {
        PrintTables(run.out, loads, transformers, totals);
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
            DocumentKindOf(run.input);
            if (!run.output.empty()) {
                DocumentKindOf(run.output);
            }
            CLoadArray loads;
            CTransformerArray transformers;
            ReadDocument(run.input, loads, transformers);
            const SummaryTotals totals = RecalculateDocument(loads, transformers);
            if (!run.output.empty()) {
                WriteDocument(run.output, loads, transformers);
            }
            PrintDocument(run, loads, transformers, totals);
        };
    });
}

void AddDemo(CLI::App& app, CliRun& run)
{
    auto* cmd = app.add_subcommand("demo", "Recalculate the bundled example and print it");
    cmd->add_flag("--json", run.json, "print the document as JSON instead of tables");
    cmd->callback([&run] {
        run.action = [&run] {
            CLoadArray loads;
            CTransformerArray transformers;
            DocumentFromJson(std::string_view(BundledExample(), BundledExampleSize()),
                             "bundled example", loads, transformers);
            const SummaryTotals totals = RecalculateDocument(loads, transformers);
            PrintDocument(run, loads, transformers, totals);
        };
    });
}

}  // namespace

int RunCommandLine(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
                   std::ostream& err)
{
    CliRun run{in, out, err, {}, {}, {}, false};
    CLI::App app{"loadcal: demand-factor load calculation of a building's power distribution",
                 "loadcal"};
    app.require_subcommand(1);
    AddConvert(app, run);
    AddCalc(app, run);
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
        err << "loadcal: " << e.what() << "\n" << "Run 'loadcal --help' for usage.\n";
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
    }
    out.flush();
    if (!out) {
        err << "loadcal: cannot write to standard output\n";
        return kExitIo;
    }
    return kExitOk;
}

}  // namespace loadcal
