#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "model/LoadTypes.h"

namespace loadcal {

/// The file form of a load-type library (the shipped data/load-types.json
/// and the user's 负荷类型库.json), UTF-8 JSON:
///
///   { "version": 1, "notes": [ "…" ],
///     "types": [ { "name", "scale", "kxMin", "kx", "kxMax",
///                  "cos", "cosMin", "cosMax", "source", "table", "secondary",
///                  "fireFighting", "note" },
///                { "name", …, "quantity": "area" | "units" | "households" | "power",
///                  "tiers": [ { "label", "over" | "from", "upTo" | "below",
///                               "kxMin", "kx", "kxMax", "note" } ] } ] }
///
/// Only "name" and "kx" (or "quantity" and "tiers") are required. Figures
/// are JSON numbers: 0 < kxMin <= kx <= kxMax <= 1 (kxMin and kxMax default
/// to kx), 0 < cosMin <= cos <= cosMax <= 1 (cosMin and cosMax default to
/// cos). A tier's lower bound is "over" (not included) or "from"
/// (included), its upper bound "upTo" (included) or "below" (not
/// included); only the last tier may go without one; each tier starts
/// where the one before ends ("upTo" 3 then "over" 3, "below" 500 then
/// "from" 500). Names are unique (LoadTypeKey). Unknown keys are refused.

/// Reads a library. Throws DocumentError "<source>: line N: <reason>" naming
/// the line of the offending value (JSON syntax errors: line and column).
/// Every type takes the given origin.
CLoadTypeLibrary LoadTypesFromJson(std::string_view json, const std::string& source,
                                   LoadTypeOrigin origin = LoadTypeOrigin::Shipped);

/// The file form of a library, as LoadTypesFromJson reads it back.
std::string LoadTypesToJson(const CLoadTypeLibrary& library);

/// The library as `loadcal types --json` lists it: a JSON array of objects
/// with "name", "kxMin", "kx" (null for a tiered type: its tiers give it),
/// "kxMax", "cos", "tan" (null without a power factor), "cosMin", "cosMax",
/// "scale", "quantity" and "tiers" (tiered types), "source" (the citation,
/// "用户自定义" without source), "secondary", "fireFighting", "note" and
/// "origin" ("shipped", "user", "user-override").
std::string LoadTypesListJson(const CLoadTypeLibrary& library);

/// The library shipped with the program (compiled into it from
/// data/load-types.json), read once.
const CLoadTypeLibrary& ShippedLoadTypes();

/// The user library file beside a settings file: 负荷类型库.json in its folder.
std::wstring UserLoadTypesPath(const std::wstring& settingsPath);

/// Reads a user library file: an empty library when there is no such file.
/// Throws DocumentError naming the file and, for a damaged or wrongly
/// edited file, the line and the reason.
CLoadTypeLibrary ReadUserLoadTypes(const std::wstring& path);

/// Writes a user library file as a whole or not at all (the previous file
/// stays on failure, which throws DocumentError naming the file and cause).
void WriteUserLoadTypes(const std::wstring& path, const CLoadTypeLibrary& user);

/// The library a program works with: the shipped one with the user library
/// at userPath laid over it, or the shipped one alone with the reason the
/// user file was refused.
struct CLoadTypeLibraryLoad {
    CLoadTypeLibrary library;
    std::optional<std::string> userError;
};
CLoadTypeLibraryLoad LoadLoadTypeLibrary(const std::wstring& userPath);

}  // namespace loadcal
