#include "document/JsonDocument.h"

#include <array>

#include <nlohmann/json.hpp>

#include "document/DocumentError.h"
#include "model/Text.h"

namespace loadcal {
namespace {

using Json = nlohmann::ordered_json;

/// JSON keys in record field order.
constexpr std::array<const char*, CLoadCalData::kFieldCount> kLoadKeys = {
    "circuitNo", "equipNo", "equipName", "phase", "ratedPower", "demandFactor", "powerFactor",
    "calcP",     "calcQ",   "calcS",     "calcI", "voltage",    "transformer"};

constexpr std::array<const char*, CTransformerCalData::kFieldCount> kTransformerKeys = {
    "name",
    "ratedCapacity",
    "actualLoadRate",
    "loadRate",
    "kp",
    "kq",
    "calcCapacity",
    "calcP",
    "calcQ",
    "calcS",
    "calcI",
    "alpha",
    "beta",
    "cosBefore",
    "cosAfter",
    "compCapacity",
    "actualCompCapacity"};

constexpr const char* kLoadsKey = "loads";
constexpr const char* kTransformersKey = "transformers";
constexpr const char* kTotalsKey = "totals";
constexpr const char* kWarningsKey = "warnings";

template <class Record, size_t N>
Json RecordToJson(const Record& r, const std::array<const char*, N>& keys)
{
    Json obj = Json::object();
    for (size_t f = 0; f < N; ++f) {
        obj[keys[f]] = ToUtf8(r.FieldAt(static_cast<int>(f)));
    }
    return obj;
}

[[noreturn]] void Fail(const std::string& source, const std::string& where, const std::string& what)
{
    throw DocumentError(source + ": " + where + ": " + what);
}

template <class Record, size_t N>
void ReadRecords(const Json& doc, const char* listKey, const std::array<const char*, N>& keys,
                 const std::string& source, CArray<Record>& out)
{
    out.RemoveAll();
    const auto list = doc.find(listKey);
    if (list == doc.end()) {
        return;
    }
    if (!list->is_array()) {
        Fail(source, listKey, "expected an array of records");
    }
    for (size_t i = 0; i < list->size(); ++i) {
        const Json& item = (*list)[i];
        const std::string where = std::string(listKey) + "[" + std::to_string(i) + "]";
        if (!item.is_object()) {
            Fail(source, where, "expected an object");
        }
        Record record;
        for (const auto& [key, value] : item.items()) {
            size_t f = 0;
            while (f < N && key != keys[f]) {
                ++f;
            }
            if (f == N) {
                Fail(source, where, "unknown key \"" + key + "\"");
            }
            if (!value.is_string()) {
                Fail(source, where + "." + key,
                     "expected a string, found " + std::string(value.type_name()));
            }
            record.FieldAt(static_cast<int>(f)) =
                FromUtf8(value.template get_ref<const std::string&>());
        }
        out.Add(std::move(record));
    }
}

/// nlohmann's messages start with "[json.exception.parse_error.101] parse error at ...".
std::string PlainParseMessage(const std::string& what)
{
    const auto bracket = what.find("] ");
    return bracket == std::string::npos ? what : what.substr(bracket + 2);
}

}  // namespace

std::string DocumentToJson(const CLoadCalDocument& doc, const SummaryTotals& totals,
                           const std::vector<std::wstring>* warnings)
{
    // The text of doc.dump(2) for the whole document, written one record at a
    // time so that the document never exists as one JSON tree in memory.
    std::string out = "{\n";
    const auto append = [&out](const Json& value, const char* indent) {
        const std::string text = value.dump(2);
        for (const char c : text) {
            out += c;
            if (c == '\n') {
                out += indent;
            }
        }
    };
    const auto list = [&](const char* key, const auto& records, const auto& keys, bool last) {
        out += "  \"";
        out += key;
        out += "\": [";
        for (int i = 0; i < records.GetSize(); ++i) {
            out += i == 0 ? "\n    " : ",\n    ";
            append(RecordToJson(records[i], keys), "    ");
        }
        out += records.IsEmpty() ? "]" : "\n  ]";
        out += last ? "\n" : ",\n";
    };
    list(kLoadsKey, doc.loads, kLoadKeys, false);
    list(kTransformersKey, doc.transformers, kTransformerKeys, false);
    out += "  \"";
    out += kTotalsKey;
    out += "\": ";
    append(Json{{"Pe", ToUtf8(totals.installed)},
                {"P", ToUtf8(totals.active)},
                {"Q", ToUtf8(totals.reactive)},
                {"S", ToUtf8(totals.apparent)},
                {"cos", ToUtf8(totals.powerFactor)},
                {"I", ToUtf8(totals.current)}},
           "  ");
    if (warnings != nullptr) {
        Json texts = Json::array();
        for (const std::wstring& w : *warnings) {
            texts.push_back(ToUtf8(w));
        }
        out += ",\n  \"";
        out += kWarningsKey;
        out += "\": ";
        append(texts, "  ");
    }
    out += "\n}\n";
    return out;
}

void DocumentFromJson(std::string_view json, const std::string& source, CLoadCalDocument& doc)
{
    Json root;
    try {
        root = Json::parse(json.begin(), json.end());
    } catch (const Json::parse_error& e) {
        throw DocumentError(source + ": " + PlainParseMessage(e.what()));
    }
    if (!root.is_object()) {
        Fail(source, "top level", "expected an object with \"loads\" and \"transformers\"");
    }
    for (const auto& [key, value] : root.items()) {
        if (key != kLoadsKey && key != kTransformersKey && key != kTotalsKey &&
            key != kWarningsKey) {
            Fail(source, "top level", "unknown key \"" + key + "\"");
        }
    }
    CLoadCalDocument read;
    ReadRecords(root, kLoadsKey, kLoadKeys, source, read.loads);
    ReadRecords(root, kTransformersKey, kTransformerKeys, source, read.transformers);
    doc = std::move(read);
}

}  // namespace loadcal
