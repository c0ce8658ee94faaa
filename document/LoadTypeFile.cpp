#include "document/LoadTypeFile.h"

#include <array>
#include <cerrno>
#include <cmath>
#include <map>
#include <vector>

#include <nlohmann/json.hpp>

#include "document/AtomicFile.h"
#include "document/DocumentError.h"
#include "model/Numeric.h"
#include "model/Text.h"

namespace loadcal {

// The shipped library, compiled in from data/load-types.json.
const char* ShippedLoadTypesJson();
std::size_t ShippedLoadTypesJsonSize();

namespace {

using Json = nlohmann::ordered_json;

/// The user library's file name in the settings folder.
constexpr const char* kUserFileName = "负荷类型库.json";
/// A library file larger than this is not read (no library comes near it).
constexpr uint64_t kMaxLibraryBytes = 16U << 20U;

constexpr int kFormatVersion = 1;

constexpr std::array<std::pair<QuantityKind, const char*>, 4> kQuantityIds = {{
    {QuantityKind::FloorArea, "area"},
    {QuantityKind::Units, "units"},
    {QuantityKind::Households, "households"},
    {QuantityKind::Power, "power"},
}};

const char* QuantityId(QuantityKind kind)
{
    for (const auto& [k, id] : kQuantityIds) {
        if (k == kind) {
            return id;
        }
    }
    return nullptr;
}

const char* OriginId(LoadTypeOrigin origin)
{
    switch (origin) {
        case LoadTypeOrigin::UserAdded:
            return "user";
        case LoadTypeOrigin::UserOverride:
            return "user-override";
        case LoadTypeOrigin::Shipped:
            break;
    }
    return "shipped";
}

/// The line on which each value of a JSON text starts, by its JSON pointer
/// ("/types/3/kxMin"; object keys as written, without unescaping). Built
/// for a text the JSON parser has accepted; walks it without recursion.
class CLineMap {
public:
    explicit CLineMap(std::string_view text) : m_text(text) { Walk(); }

    /// The line of the value at pointer, or of its nearest enclosing value.
    int LineOf(std::string pointer) const
    {
        for (;;) {
            const auto found = m_lines.find(pointer);
            if (found != m_lines.end()) {
                return found->second;
            }
            const size_t slash = pointer.rfind('/');
            if (slash == std::string::npos) {
                return 1;
            }
            pointer.erase(slash);
        }
    }

private:
    struct Frame {
        bool object;
        std::string pointer;
        int next;  ///< index of the next array element
    };

    bool AtEnd() const { return m_pos >= m_text.size(); }

    void SkipBlanks()
    {
        while (!AtEnd() && (m_text[m_pos] == ' ' || m_text[m_pos] == '\t' ||
                            m_text[m_pos] == '\r' || m_text[m_pos] == '\n')) {
            m_line += m_text[m_pos] == '\n' ? 1 : 0;
            ++m_pos;
        }
    }

    /// The raw text of a string at m_pos (quotes stripped, escapes kept).
    std::string ReadString()
    {
        ++m_pos;  // opening quote
        const size_t start = m_pos;
        while (!AtEnd() && m_text[m_pos] != '"') {
            m_pos += m_text[m_pos] == '\\' ? 2 : 1;
        }
        const std::string raw(m_text.substr(start, std::min(m_pos, m_text.size()) - start));
        ++m_pos;  // closing quote
        return raw;
    }

    void BeginValue(const std::string& pointer)
    {
        SkipBlanks();
        if (AtEnd()) {
            return;
        }
        m_lines.emplace(pointer, m_line);
        const char c = m_text[m_pos];
        if (c == '{' || c == '[') {
            ++m_pos;
            m_stack.push_back({c == '{', pointer, 0});
        } else if (c == '"') {
            ReadString();
        } else {
            while (!AtEnd() && m_text[m_pos] != ',' && m_text[m_pos] != '}' &&
                   m_text[m_pos] != ']' && m_text[m_pos] != ' ' && m_text[m_pos] != '\n' &&
                   m_text[m_pos] != '\r' && m_text[m_pos] != '\t') {
                ++m_pos;
            }
        }
    }

    void Walk()
    {
        if (m_text.substr(0, 3) == "\xEF\xBB\xBF") {
            m_pos = 3;
        }
        BeginValue("");
        while (!m_stack.empty()) {
            SkipBlanks();
            if (AtEnd()) {
                return;
            }
            if (m_text[m_pos] == '}' || m_text[m_pos] == ']') {
                ++m_pos;
                m_stack.pop_back();
                continue;
            }
            if (m_text[m_pos] == ',') {
                ++m_pos;
                SkipBlanks();
            }
            if (m_stack.back().object) {
                const std::string key = ReadString();
                SkipBlanks();
                ++m_pos;  // the colon
                const std::string pointer = m_stack.back().pointer + "/" + key;
                BeginValue(pointer);
            } else {
                const std::string pointer =
                    m_stack.back().pointer + "/" + std::to_string(m_stack.back().next++);
                BeginValue(pointer);
            }
        }
    }

    std::string_view m_text;
    size_t m_pos = 0;
    int m_line = 1;
    std::vector<Frame> m_stack;
    std::map<std::string, int> m_lines;
};

std::string Quoted(const std::string& text)
{
    return "\"" + text + "\"";
}

std::string NumberText(double value)
{
    return ToUtf8(FormatG(value));
}

/// nlohmann's messages start with "[json.exception.parse_error.101] parse error at ...".
std::string PlainParseMessage(const std::string& what)
{
    const auto bracket = what.find("] ");
    return bracket == std::string::npos ? what : what.substr(bracket + 2);
}

/// Reads and checks the types of a parsed library file, naming the line of
/// whatever it refuses.
class CLibraryReader {
public:
    CLibraryReader(std::string_view text, const Json& root, std::string source,
                   LoadTypeOrigin origin)
        : m_lines(text), m_root(root), m_source(std::move(source)), m_origin(origin)
    {}

    CLoadTypeLibrary Read()
    {
        if (!m_root.is_object()) {
            Fail("", "expected an object with \"types\"");
        }
        OnlyKeys(m_root, "", {"version", "notes", "types"}, "the library");
        if (const auto v = m_root.find("version"); v != m_root.end()) {
            if (!v->is_number_integer() || v->get<long long>() != kFormatVersion) {
                Fail("/version", "\"version\" must be " + std::to_string(kFormatVersion));
            }
        }
        if (const auto notes = m_root.find("notes"); notes != m_root.end()) {
            if (!notes->is_string() && !notes->is_array()) {
                Fail("/notes", "\"notes\" must be a text or a list of texts");
            }
        }
        const auto list = m_root.find("types");
        if (list == m_root.end() || !list->is_array()) {
            Fail(list == m_root.end() ? "" : "/types", "expected \"types\": a list of load types");
        }
        CLoadTypeLibrary library;
        std::map<std::wstring, std::string> firstPointer;
        for (size_t i = 0; i < list->size(); ++i) {
            const std::string pointer = "/types/" + std::to_string(i);
            CLoadType type = ReadType((*list)[i], pointer);
            const std::wstring key = LoadTypeKey(type.name);
            const auto [seen, fresh] = firstPointer.emplace(key, pointer);
            if (!fresh) {
                Fail(pointer + "/name", "type " + Quoted(ToUtf8(type.name)) +
                                            " is named twice (first on line " +
                                            std::to_string(m_lines.LineOf(seen->second)) + ")");
            }
            library.Put(std::move(type));
        }
        return library;
    }

private:
    [[noreturn]] void Fail(const std::string& pointer, const std::string& reason) const
    {
        throw DocumentError(m_source + ": line " + std::to_string(m_lines.LineOf(pointer)) + ": " +
                            reason);
    }

    void OnlyKeys(const Json& object, const std::string& pointer,
                  std::initializer_list<const char*> allowed, const std::string& what) const
    {
        for (const auto& [key, value] : object.items()) {
            bool known = false;
            for (const char* name : allowed) {
                known = known || key == name;
            }
            if (!known) {
                Fail(pointer + "/" + key, "unknown key " + Quoted(key) + " in " + what);
            }
        }
    }

    std::optional<double> Number(const Json& object, const std::string& pointer, const char* key,
                                 const std::string& what) const
    {
        const auto found = object.find(key);
        if (found == object.end()) {
            return std::nullopt;
        }
        if (!found->is_number() || !std::isfinite(found->get<double>())) {
            Fail(pointer + "/" + key, what + ": " + Quoted(key) + " must be a number");
        }
        return found->get<double>();
    }

    std::wstring Text(const Json& object, const std::string& pointer, const char* key,
                      const std::string& what) const
    {
        const auto found = object.find(key);
        if (found == object.end()) {
            return {};
        }
        if (!found->is_string()) {
            Fail(pointer + "/" + key, what + ": " + Quoted(key) + " must be a text");
        }
        return FromUtf8(found->get_ref<const std::string&>());
    }

    bool Flag(const Json& object, const std::string& pointer, const char* key,
              const std::string& what) const
    {
        const auto found = object.find(key);
        if (found == object.end()) {
            return false;
        }
        if (!found->is_boolean()) {
            Fail(pointer + "/" + key, what + ": " + Quoted(key) + " must be true or false");
        }
        return found->get<bool>();
    }

    /// Each given figure lies above 0 and at most 1.
    void CheckFactors(
        const std::string& pointer, const std::string& what, const char* kind,
        std::initializer_list<std::pair<const char*, std::optional<double>>> figures) const
    {
        for (const auto& [key, value] : figures) {
            if (value && !(*value > 0 && *value <= 1)) {
                Fail(pointer + "/" + key, what + ": " + kind + " lies above 0 and at most 1, " +
                                              Quoted(key) + " is " + NumberText(*value));
            }
        }
    }

    /// kxMin <= kx <= kxMax within (0, 1]; kxMin and kxMax default to kx.
    void ReadKx(const Json& object, const std::string& pointer, const std::string& what,
                double& low, double& typical, double& high) const
    {
        const auto kx = Number(object, pointer, "kx", what);
        if (!kx) {
            Fail(pointer, what + ": \"kx\" is missing");
        }
        const auto givenLow = Number(object, pointer, "kxMin", what);
        const auto givenHigh = Number(object, pointer, "kxMax", what);
        CheckFactors(pointer, what, "a demand factor",
                     {{"kx", kx}, {"kxMin", givenLow}, {"kxMax", givenHigh}});
        typical = *kx;
        low = givenLow.value_or(typical);
        high = givenHigh.value_or(typical);
        if (low > typical) {
            Fail(pointer + "/kxMin", what + ": \"kxMin\" " + NumberText(low) + " is above \"kx\" " +
                                         NumberText(typical));
        }
        if (typical > high) {
            Fail(pointer + "/kxMax", what + ": \"kxMax\" " + NumberText(high) +
                                         " is below \"kx\" " + NumberText(typical));
        }
    }

    CLoadTypeTier ReadTier(const Json& item, const std::string& pointer, const std::string& what,
                           bool last) const
    {
        if (!item.is_object()) {
            Fail(pointer, what + ": expected an object");
        }
        OnlyKeys(item, pointer,
                 {"label", "over", "from", "upTo", "below", "kxMin", "kx", "kxMax", "note"}, what);
        CLoadTypeTier tier;
        const auto over = Number(item, pointer, "over", what);
        const auto from = Number(item, pointer, "from", what);
        if (over.has_value() == from.has_value()) {
            Fail(pointer, what + (over ? ": give one lower bound, \"over\" or \"from\", not both"
                                       : ": the lower bound is missing (\"over\" or \"from\")"));
        }
        tier.lower = over ? CTierBound{*over, false} : CTierBound{*from, true};
        if (tier.lower.value < 0) {
            Fail(pointer + (over ? "/over" : "/from"), what + ": the lower bound is below 0");
        }
        const auto upTo = Number(item, pointer, "upTo", what);
        const auto below = Number(item, pointer, "below", what);
        if (upTo && below) {
            Fail(pointer, what + ": give one upper bound, \"upTo\" or \"below\", not both");
        }
        if (upTo || below) {
            tier.upper = upTo ? CTierBound{*upTo, true} : CTierBound{*below, false};
            if (!(tier.upper->value > tier.lower.value)) {
                Fail(pointer + (upTo ? "/upTo" : "/below"),
                     what + ": the upper bound " + NumberText(tier.upper->value) +
                         " is not above the lower bound " + NumberText(tier.lower.value));
            }
        } else if (!last) {
            Fail(pointer, what +
                              ": only the last tier may go without an upper bound "
                              "(\"upTo\" or \"below\")");
        }
        ReadKx(item, pointer, what, tier.kxMin, tier.kx, tier.kxMax);
        tier.label = Text(item, pointer, "label", what);
        if (Trim(tier.label).empty()) {
            tier.label = tier.upper ? FormatG(tier.lower.value) + L"–" + FormatG(tier.upper->value)
                                    : L"> " + FormatG(tier.lower.value);
        }
        tier.note = Text(item, pointer, "note", what);
        return tier;
    }

    CLoadType ReadType(const Json& item, const std::string& pointer) const
    {
        if (!item.is_object()) {
            Fail(pointer, "a load type must be an object");
        }
        CLoadType type;
        type.origin = m_origin;
        const auto name = item.find("name");
        if (name == item.end() || !name->is_string() ||
            Trim(FromUtf8(name->get_ref<const std::string&>())).empty()) {
            Fail(name == item.end() ? pointer : pointer + "/name",
                 "a load type needs a \"name\" (a text that is not empty)");
        }
        type.name = Trim(FromUtf8(name->get_ref<const std::string&>()));
        const std::string what = "type " + Quoted(ToUtf8(type.name));
        OnlyKeys(item, pointer,
                 {"name", "scale", "quantity", "tiers", "kxMin", "kx", "kxMax", "cos", "cosMin",
                  "cosMax", "source", "table", "secondary", "fireFighting", "note"},
                 what);

        type.scale = Text(item, pointer, "scale", what);
        type.source = Text(item, pointer, "source", what);
        type.table = Text(item, pointer, "table", what);
        type.note = Text(item, pointer, "note", what);
        type.secondary = Flag(item, pointer, "secondary", what);
        type.fireFighting = Flag(item, pointer, "fireFighting", what);

        const auto tiers = item.find("tiers");
        const auto quantity = item.find("quantity");
        if (tiers == item.end()) {
            if (quantity != item.end()) {
                Fail(pointer + "/quantity", what +
                                                ": \"quantity\" belongs to a tiered type "
                                                "(one with \"tiers\")");
            }
            ReadKx(item, pointer, what, type.kxMin, type.kx, type.kxMax);
        } else {
            for (const char* key : {"kxMin", "kx", "kxMax"}) {
                if (item.contains(key)) {
                    Fail(pointer + "/" + key, what +
                                                  ": a tiered type takes its demand factors "
                                                  "from its tiers; " +
                                                  Quoted(key) + " does not belong beside them");
                }
            }
            if (quantity == item.end()) {
                Fail(pointer, what +
                                  ": a tiered type needs \"quantity\" (\"area\", \"units\", "
                                  "\"households\" or \"power\")");
            }
            for (const auto& [kind, id] : kQuantityIds) {
                if (quantity->is_string() && quantity->get_ref<const std::string&>() == id) {
                    type.quantity = kind;
                }
            }
            if (type.quantity == QuantityKind::None) {
                Fail(pointer + "/quantity", what +
                                                ": \"quantity\" must be \"area\", \"units\", "
                                                "\"households\" or \"power\"");
            }
            if (!tiers->is_array() || tiers->empty()) {
                Fail(pointer + "/tiers", what + ": \"tiers\" must be a list of at least one tier");
            }
            for (size_t t = 0; t < tiers->size(); ++t) {
                const std::string tierPointer = pointer + "/tiers/" + std::to_string(t);
                const std::string tierWhat = what + ", tier " + std::to_string(t + 1);
                CLoadTypeTier tier =
                    ReadTier((*tiers)[t], tierPointer, tierWhat, t + 1 == tiers->size());
                if (!type.tiers.empty()) {
                    const CTierBound& end = *type.tiers.back().upper;
                    if (tier.lower.value != end.value || tier.lower.included == end.included) {
                        Fail(tierPointer,
                             tierWhat + " does not start where tier " + std::to_string(t) +
                                 " ends: " + (end.included ? "\"upTo\" " : "\"below\" ") +
                                 NumberText(end.value) + " must be followed by " +
                                 (end.included ? "\"over\" " : "\"from\" ") +
                                 NumberText(end.value));
                    }
                }
                type.tiers.push_back(std::move(tier));
            }
            type.SetRangeFromTiers();
        }

        const auto cos = Number(item, pointer, "cos", what);
        const auto cosMin = Number(item, pointer, "cosMin", what);
        const auto cosMax = Number(item, pointer, "cosMax", what);
        if (!cos && (cosMin || cosMax)) {
            Fail(pointer + (cosMin ? "/cosMin" : "/cosMax"),
                 what + ": a power factor range needs \"cos\", the value to fill");
        }
        if (cos) {
            CheckFactors(pointer, what, "a power factor",
                         {{"cos", cos}, {"cosMin", cosMin}, {"cosMax", cosMax}});
            type.cos = *cos;
            type.cosMin = cosMin.value_or(*cos);
            type.cosMax = cosMax.value_or(*cos);
            if (type.cosMin > *cos || *cos > type.cosMax) {
                Fail(pointer + "/cos", what + ": \"cos\" " + NumberText(*cos) +
                                           " lies outside \"cosMin\" to \"cosMax\"");
            }
        }
        return type;
    }

    CLineMap m_lines;
    const Json& m_root;
    std::string m_source;
    LoadTypeOrigin m_origin;
};

Json TierToJson(const CLoadTypeTier& tier)
{
    Json t = Json::object();
    t["label"] = ToUtf8(tier.label);
    t[tier.lower.included ? "from" : "over"] = tier.lower.value;
    if (tier.upper) {
        t[tier.upper->included ? "upTo" : "below"] = tier.upper->value;
    }
    t["kxMin"] = tier.kxMin;
    t["kx"] = tier.kx;
    t["kxMax"] = tier.kxMax;
    if (!tier.note.empty()) {
        t["note"] = ToUtf8(tier.note);
    }
    return t;
}

Json TypeToJson(const CLoadType& type)
{
    Json t = Json::object();
    t["name"] = ToUtf8(type.name);
    if (!type.scale.empty()) {
        t["scale"] = ToUtf8(type.scale);
    }
    if (type.IsTiered()) {
        t["quantity"] = QuantityId(type.quantity);
        Json tiers = Json::array();
        for (const CLoadTypeTier& tier : type.tiers) {
            tiers.push_back(TierToJson(tier));
        }
        t["tiers"] = std::move(tiers);
    } else {
        t["kxMin"] = type.kxMin;
        t["kx"] = type.kx;
        t["kxMax"] = type.kxMax;
    }
    if (type.cos) {
        t["cos"] = *type.cos;
        if (type.cosMin != *type.cos || type.cosMax != *type.cos) {
            t["cosMin"] = type.cosMin;
            t["cosMax"] = type.cosMax;
        }
    }
    if (!type.source.empty()) {
        t["source"] = ToUtf8(type.source);
    }
    if (!type.table.empty()) {
        t["table"] = ToUtf8(type.table);
    }
    if (type.secondary) {
        t["secondary"] = true;
    }
    if (type.fireFighting) {
        t["fireFighting"] = true;
    }
    if (!type.note.empty()) {
        t["note"] = ToUtf8(type.note);
    }
    return t;
}

}  // namespace

CLoadTypeLibrary LoadTypesFromJson(std::string_view json, const std::string& source,
                                   LoadTypeOrigin origin)
{
    Json root;
    try {
        root = Json::parse(json.begin(), json.end());
    } catch (const Json::parse_error& e) {
        throw DocumentError(source + ": " + PlainParseMessage(e.what()));
    }
    return CLibraryReader(json, root, source, origin).Read();
}

std::string LoadTypesToJson(const CLoadTypeLibrary& library)
{
    Json root = Json::object();
    root["version"] = kFormatVersion;
    Json types = Json::array();
    for (const CLoadType& type : library.Types()) {
        types.push_back(TypeToJson(type));
    }
    root["types"] = std::move(types);
    return root.dump(2) + "\n";
}

std::string LoadTypesListJson(const CLoadTypeLibrary& library)
{
    Json list = Json::array();
    for (const CLoadType& type : library.Types()) {
        Json t = Json::object();
        t["name"] = ToUtf8(type.name);
        t["kxMin"] = type.kxMin;
        t["kx"] = type.IsTiered() ? Json(nullptr) : Json(type.kx);
        t["kxMax"] = type.kxMax;
        t["cos"] = type.cos ? Json(*type.cos) : Json(nullptr);
        t["cosMin"] = type.cos ? Json(type.cosMin) : Json(nullptr);
        t["cosMax"] = type.cos ? Json(type.cosMax) : Json(nullptr);
        const auto tan = type.Tan();
        t["tan"] = tan ? Json(*tan) : Json(nullptr);
        t["scale"] = ToUtf8(type.scale);
        t["quantity"] = type.IsTiered() ? Json(QuantityId(type.quantity)) : Json(nullptr);
        Json tiers = Json::array();
        for (const CLoadTypeTier& tier : type.tiers) {
            tiers.push_back(TierToJson(tier));
        }
        t["tiers"] = std::move(tiers);
        t["source"] = ToUtf8(type.Citation());
        t["secondary"] = type.secondary;
        t["fireFighting"] = type.fireFighting;
        t["note"] = ToUtf8(type.note);
        t["origin"] = OriginId(type.origin);
        list.push_back(std::move(t));
    }
    return list.dump(2) + "\n";
}

const CLoadTypeLibrary& ShippedLoadTypes()
{
    static const CLoadTypeLibrary shipped =
        LoadTypesFromJson(std::string_view(ShippedLoadTypesJson(), ShippedLoadTypesJsonSize()),
                          "data/load-types.json (built in)");
    return shipped;
}

std::wstring UserLoadTypesPath(const std::wstring& settingsPath)
{
    return FromFsPath(ToFsPath(settingsPath).parent_path() / kUserFileName);
}

CLoadTypeLibrary ReadUserLoadTypes(const std::wstring& path)
{
    std::string bytes;
    const int error = ReadFileBytes(ToFsPath(path), kMaxLibraryBytes, bytes);
    if (error == ENOENT || error == ENOTDIR) {
        return {};
    }
    if (error != 0) {
        throw DocumentError("cannot read \"" + ToUtf8(path) + "\": " +
                            (error == EFBIG ? std::string("larger than a load-type library can be")
                                            : FileErrorText(error)));
    }
    return LoadTypesFromJson(bytes, ToUtf8(path), LoadTypeOrigin::UserAdded);
}

void WriteUserLoadTypes(const std::wstring& path, const CLoadTypeLibrary& user)
{
    WriteFileAtomically(ToFsPath(path), LoadTypesToJson(user));
}

CLoadTypeLibraryLoad LoadLoadTypeLibrary(const std::wstring& userPath)
{
    CLoadTypeLibraryLoad load;
    try {
        load.library = CLoadTypeLibrary::Merge(ShippedLoadTypes(), ReadUserLoadTypes(userPath));
    } catch (const DocumentError& e) {
        load.library = ShippedLoadTypes();
        load.userError = e.what();
    }
    return load;
}

}  // namespace loadcal
