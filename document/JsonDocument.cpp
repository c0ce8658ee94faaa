#include "document/JsonDocument.h"

#include <array>

#include <nlohmann/json.hpp>

#include "document/DocumentError.h"
#include "model/Calculation.h"
#include "model/Text.h"

namespace loadcal {
namespace {

using Json = nlohmann::ordered_json;

/// JSON keys in record field order: a circuit's original thirteen, then the
/// four beyond them, which are written only when not empty.
constexpr std::array<const char*, CLoadCalData::kAnyFieldCount> kLoadKeys = {
    "circuitNo",   "equipNo",  "equipName", "phase",     "ratedPower", "demandFactor",
    "powerFactor", "calcP",    "calcQ",     "calcS",     "calcI",      "voltage",
    "transformer", "loadType", "quantity",  "loadClass", "fire"};

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

/// JSON keys of the project information, by CProjectInfo field.
constexpr std::array<const char*, CProjectInfo::kFieldCount> kProjectKeys = {
    "name",     "number", "stage",    "client",  "institute", "subproject",
    "revision", "date",   "designer", "checker", "reviewer",  "approver"};

constexpr const char* kProjectKey = "project";

constexpr std::array<const char*, CBoardCalData::kFieldCount> kBoardKeys = {
    "name", "owner", "phase", "kp", "kq", "ratedPower", "calcP", "calcQ", "calcS", "calcI", "cos"};

/// The keys of a transformer's and a board's "fire" object, by field beyond
/// the record's own (ExtraField less kFieldCount).
constexpr std::array<const char*, CTransformerCalData::kExtraFieldCount> kTransformerFireKeys = {
    "calcP", "calcQ", "calcS", "calcI", "cosBefore", "compCapacity", "loadRate", "governs"};
constexpr std::array<const char*, CBoardCalData::kExtraFieldCount> kBoardFireKeys = {
    "ratedPower", "calcP", "calcQ", "calcS", "calcI", "cos", "governs"};
constexpr const char* kFireKey = "fire";

constexpr const auto& FireKeysOf(const CTransformerCalData& /*record*/)
{
    return kTransformerFireKeys;
}
constexpr const auto& FireKeysOf(const CBoardCalData& /*record*/)
{
    return kBoardFireKeys;
}

constexpr const char* kRulesKey = "rules";
constexpr const char* kBoardsKey = "boards";
constexpr const char* kLoadsKey = "loads";
constexpr const char* kTransformersKey = "transformers";
constexpr const char* kTotalsKey = "totals";
constexpr const char* kWarningsKey = "warnings";

/// A record's field by its place in the key list: every field of a circuit,
/// the original thirteen and those beyond them; a transformer's or board's
/// own.
std::wstring& KeyedField(CLoadCalData& r, size_t f)
{
    return r.AnyFieldAt(static_cast<int>(f));
}
const std::wstring& KeyedField(const CLoadCalData& r, size_t f)
{
    return r.AnyFieldAt(static_cast<int>(f));
}
template <class Record>
std::wstring& KeyedField(Record& r, size_t f)
{
    return r.FieldAt(static_cast<int>(f));
}
template <class Record>
const std::wstring& KeyedField(const Record& r, size_t f)
{
    return r.FieldAt(static_cast<int>(f));
}

/// Whether a field's key is written when its text is empty: a circuit's
/// fields beyond the original thirteen appear only when used, so that a
/// document without them is written exactly as before.
bool AlwaysWritten(const CLoadCalData& /*r*/, size_t f)
{
    return f < static_cast<size_t>(CLoadCalData::kFieldCount);
}
template <class Record>
bool AlwaysWritten(const Record& /*r*/, size_t /*f*/)
{
    return true;
}

template <class Record, size_t N>
Json RecordToJson(const Record& r, const std::array<const char*, N>& keys)
{
    Json obj = Json::object();
    for (size_t f = 0; f < N; ++f) {
        const std::wstring& text = KeyedField(r, f);
        if (text.empty() && !AlwaysWritten(r, f)) {
            continue;
        }
        obj[keys[f]] = ToUtf8(text);
    }
    return obj;
}

/// A transformer's or board's fire figures as the "fire" object: every key,
/// each field's text exactly.
template <class Record>
Json FireToJson(const Record& r)
{
    Json obj = Json::object();
    const auto& keys = FireKeysOf(r);
    for (size_t k = 0; k < keys.size(); ++k) {
        obj[keys[k]] = ToUtf8(r.AnyFieldAt(Record::kFieldCount + static_cast<int>(k)));
    }
    return obj;
}

/// A circuit that names a load type and leaves out its demand factor or
/// power factor takes them from the type (calc fills empty ones), not the
/// new-row defaults: those would stand as typed figures.
void LeaveTypeFiguresEmpty(CLoadCalData& circuit,
                           const std::array<bool, CLoadCalData::kAnyFieldCount>& given)
{
    if (Trim(circuit.m_strLoadType).empty()) {
        return;
    }
    if (!given[CLoadCalData::kDemandFactor]) {
        circuit.m_strDemandFactor.clear();
    }
    if (!given[CLoadCalData::kPowerFactor]) {
        circuit.m_strPowerFactor.clear();
    }
}
template <class Record, size_t N>
void LeaveTypeFiguresEmpty(Record& /*record*/, const std::array<bool, N>& /*given*/)
{}

[[noreturn]] void Fail(const std::string& source, const std::string& where, const std::string& what)
{
    throw DocumentError(source + ": " + where + ": " + what);
}

/// Reads the "fire" object of a transformer or board into its fire fields;
/// false for a circuit, whose "fire" is a field of its own.
bool ReadFire(CLoadCalData& /*record*/, const Json& /*value*/, const std::string& /*source*/,
              const std::string& /*where*/)
{
    return false;
}
template <class Record>
bool ReadFire(Record& record, const Json& value, const std::string& source,
              const std::string& where)
{
    const std::string at = where + "." + kFireKey;
    if (!value.is_object()) {
        Fail(source, at, "expected an object");
    }
    const auto& keys = FireKeysOf(record);
    for (const auto& [key, text] : value.items()) {
        size_t k = 0;
        while (k < keys.size() && key != keys[k]) {
            ++k;
        }
        if (k == keys.size()) {
            Fail(source, at, "unknown key \"" + key + "\"");
        }
        if (!text.is_string()) {
            Fail(source, at + "." + key,
                 "expected a string, found " + std::string(text.type_name()));
        }
        record.AnyFieldAt(Record::kFieldCount + static_cast<int>(k)) =
            FromUtf8(text.template get_ref<const std::string&>());
    }
    return true;
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
        std::array<bool, N> given{};
        for (const auto& [key, value] : item.items()) {
            size_t f = 0;
            while (f < N && key != keys[f]) {
                ++f;
            }
            if (f == N) {
                if (key == kFireKey && ReadFire(record, value, source, where)) {
                    continue;
                }
                Fail(source, where, "unknown key \"" + key + "\"");
            }
            if (!value.is_string()) {
                Fail(source, where + "." + key,
                     "expected a string, found " + std::string(value.type_name()));
            }
            KeyedField(record, f) = FromUtf8(value.template get_ref<const std::string&>());
            given[f] = true;
        }
        LeaveTypeFiguresEmpty(record, given);
        out.Add(std::move(record));
    }
}

/// The project object; absent: all fields empty.
void ReadProject(const Json& doc, const std::string& source, CProjectInfo& out)
{
    out = CProjectInfo();
    const auto found = doc.find(kProjectKey);
    if (found == doc.end()) {
        return;
    }
    if (!found->is_object()) {
        Fail(source, kProjectKey, "expected an object");
    }
    for (const auto& [key, value] : found->items()) {
        size_t f = 0;
        while (f < kProjectKeys.size() && key != kProjectKeys[f]) {
            ++f;
        }
        if (f == kProjectKeys.size()) {
            Fail(source, kProjectKey, "unknown key \"" + key + "\"");
        }
        if (!value.is_string()) {
            Fail(source, std::string(kProjectKey) + "." + key,
                 "expected a string, found " + std::string(value.type_name()));
        }
        out.FieldAt(static_cast<int>(f)) = FromUtf8(value.get_ref<const std::string&>());
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
    if (doc.rules != CalcRules::Original) {
        out += "  \"";
        out += kRulesKey;
        out += "\": ";
        out += Json(ToUtf8(RulesName(doc.rules))).dump();
        out += ",\n";
    }
    const auto append = [&out](const Json& value, const char* indent) {
        const std::string text = value.dump(2);
        for (const char c : text) {
            out += c;
            if (c == '\n') {
                out += indent;
            }
        }
    };
    // The fire figures of transformers and boards, only in a document with fire roles.
    const bool fire = HasFireRoles(doc);
    const auto withFire = [fire](Json obj, const auto& record) {
        if (fire) {
            obj[kFireKey] = FireToJson(record);
        }
        return obj;
    };
    const auto asIs = [](Json obj, const CLoadCalData& /*record*/) {
        return obj;
    };
    const auto list = [&](const char* key, const auto& records, const auto& keys, bool last,
                          const auto& complete) {
        out += "  \"";
        out += key;
        out += "\": [";
        for (int i = 0; i < records.GetSize(); ++i) {
            out += i == 0 ? "\n    " : ",\n    ";
            append(complete(RecordToJson(records[i], keys), records[i]), "    ");
        }
        out += records.IsEmpty() ? "]" : "\n  ]";
        out += last ? "\n" : ",\n";
    };
    if (!doc.project.IsEmpty()) {
        Json project = Json::object();
        for (size_t f = 0; f < kProjectKeys.size(); ++f) {
            project[kProjectKeys[f]] = ToUtf8(doc.project.FieldAt(static_cast<int>(f)));
        }
        out += "  \"";
        out += kProjectKey;
        out += "\": ";
        append(project, "  ");
        out += ",\n";
    }
    list(kLoadsKey, doc.loads, kLoadKeys, false, asIs);
    list(kTransformersKey, doc.transformers, kTransformerKeys, false, withFire);
    if (!doc.boards.IsEmpty()) {
        list(kBoardsKey, doc.boards, kBoardKeys, false, withFire);
    }
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
        if (key != kProjectKey && key != kLoadsKey && key != kTransformersKey &&
            key != kBoardsKey && key != kRulesKey && key != kTotalsKey && key != kWarningsKey) {
            Fail(source, "top level", "unknown key \"" + key + "\"");
        }
    }
    CLoadCalDocument read;
    ReadRecords(root, kLoadsKey, kLoadKeys, source, read.loads);
    ReadRecords(root, kTransformersKey, kTransformerKeys, source, read.transformers);
    ReadProject(root, source, read.project);
    ReadRecords(root, kBoardsKey, kBoardKeys, source, read.boards);
    if (const auto rules = root.find(kRulesKey); rules != root.end()) {
        if (!rules->is_string()) {
            Fail(source, kRulesKey, "expected a string, found " + std::string(rules->type_name()));
        }
        const auto& name = rules->get_ref<const std::string&>();
        const auto known = RulesFromName(FromUtf8(name));
        if (!known) {
            Fail(source, kRulesKey,
                 "unknown rule set \"" + name + "\" (known: " + ToUtf8(kRulesOriginalName) + ", " +
                     ToUtf8(kRulesGB51348Name) + ")");
        }
        read.rules = *known;
    }
    doc = std::move(read);
}

}  // namespace loadcal
