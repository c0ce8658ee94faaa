#include "output/OutputFile.h"

#include "document/DocumentError.h"
#include "output/OutputError.h"

namespace loadcal {
namespace {

std::string Quoted(const std::filesystem::path& p)
{
    return "\"" + p.string() + "\"";
}

[[noreturn]] void ThrowExists(const std::filesystem::path& target)
{
    throw OutputError(OutputError::Kind::FileExists, Quoted(target) + " already exists");
}

/// Runs an atomic-file step, reporting its failure as the output layer's.
template <class Step>
auto AsOutputError(Step step)
{
    try {
        return step();
    } catch (const DocumentError& e) {
        throw OutputError(OutputError::Kind::Write, e.what());
    }
}

}  // namespace

void RequireTarget(const std::filesystem::path& target, bool replace)
{
    std::error_code ec;
    if (!replace && std::filesystem::symlink_status(target, ec).type() !=
                        std::filesystem::file_type::not_found) {
        if (!ec) {
            ThrowExists(target);
        }
    }
}

void CommitOutputFile(CAtomicFile& file, bool replace)
{
    if (replace) {
        AsOutputError([&] { file.Commit(); });
    } else if (!AsOutputError([&] { return file.CommitIfAbsent(); })) {
        ThrowExists(file.Target());
    }
}

std::unique_ptr<CAtomicFile> OpenOutputFile(const std::filesystem::path& target)
{
    return AsOutputError([&] { return std::make_unique<CAtomicFile>(target); });
}

void WriteOutputFile(const std::filesystem::path& target, std::string_view bytes, bool replace)
{
    RequireTarget(target, replace);
    const auto file = OpenOutputFile(target);
    AsOutputError([&] { file->Write(bytes); });
    CommitOutputFile(*file, replace);
}

}  // namespace loadcal
