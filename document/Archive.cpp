#include "document/Archive.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "document/ArchiveKeys.h"
#include "document/AtomicFile.h"
#include "document/DocumentError.h"
#include "document/LargeMemory.h"
#include "model/Calculation.h"
#include "model/Rules.h"
#include "model/Text.h"

namespace loadcal {
namespace {

constexpr std::wstring_view kSeparator = L"\\";

/// The count passed with a text: its UTF-16 length plus the NUL, as a 16-bit
/// number (a text of 32767 units or more wraps, as it always has).
int16_t ValueCount(const std::wstring& text)
{
    return static_cast<int16_t>(static_cast<uint16_t>(Utf16Length(text) + 1));
}

/// The keys of the fields beyond a table's fixed ones, by record type.
constexpr const auto& ExtraKeysOf(const CLoadCalData& /*row*/)
{
    return archive::kLoadExtraKeys;
}
constexpr const auto& ExtraKeysOf(const CTransformerCalData& /*row*/)
{
    return archive::kTransformerExtraKeys;
}
constexpr const auto& ExtraKeysOf(const CBoardCalData& /*row*/)
{
    return archive::kBoardExtraKeys;
}

/// Calls f(key, text) for every field a row holds beyond its table's fixed
/// keys, each only when not empty, in field order: a circuit's fields
/// beyond the original thirteen, a transformer's or board's fire figures.
/// extras false leaves them all out (the fire figures of a document without
/// fire roles).
template <class Record, class F>
void ForEachExtraField(const Record& row, bool extras, F f)
{
    if (!extras) {
        return;
    }
    const auto& keys = ExtraKeysOf(row);
    for (size_t k = 0; k < keys.size(); ++k) {
        const std::wstring& text = row.AnyFieldAt(Record::kFieldCount + static_cast<int>(k));
        if (!text.empty()) {
            f(keys[k], text);
        }
    }
}

template <class Record>
size_t ExtraFieldCount(const Record& row, bool extras)
{
    size_t count = 0;
    ForEachExtraField(row, extras, [&count](std::wstring_view, const std::wstring&) { ++count; });
    return count;
}

template <class Record, size_t N>
void StoreTable(CInterDpData& store, std::wstring_view group, const CArray<Record>& rows,
                const std::array<std::wstring_view, N>& keys, bool extras)
{
    for (int i = 0; i < rows.GetSize(); ++i) {
        const std::wstring rowPath = std::wstring(group) + std::wstring(kSeparator) +
                                     std::to_wstring(i) + std::wstring(kSeparator);
        const Record& row = rows[i];
        for (size_t f = 0; f < N; ++f) {
            const std::wstring& text = row.FieldAt(static_cast<int>(f));
            store.SetSubValueW(rowPath + std::wstring(keys[f]), ValueCount(text),
                               std::wstring_view(text), 0);
        }
        ForEachExtraField(row, extras, [&](std::wstring_view key, const std::wstring& text) {
            store.SetSubValueW(rowPath + std::wstring(key), ValueCount(text),
                               std::wstring_view(text), 0);
        });
    }
}

/// The child of node named name, or null (also for a null node). Tables and
/// rows are written in order, so the child at position hint is tried first;
/// sibling names are unique, so this finds what a lookup by name finds.
const CInterDpNode* ChildNear(const CInterDpNode* node, size_t hint, std::wstring_view name)
{
    if (node == nullptr) {
        return nullptr;
    }
    if (hint < node->ChildrenSize()) {
        const CInterDpNode& guess = node->ChildAt(hint);
        if (guess.Name() == name) {
            return &guess;
        }
    }
    return node->ChildNamed(name);
}

/// The text at key below a row node, or null when there is no such node
/// (or no row node: every key of a missing row is missing). hint: the key's
/// place in the row as written.
std::optional<std::wstring_view> Lookup(const CInterDpNode* row, size_t hint, std::wstring_view key)
{
    const CInterDpNode* node = ChildNear(row, hint, key);
    if (node == nullptr) {
        return std::nullopt;
    }
    return node->ValueText();
}

/// Reads the fields beyond a row's fixed keys; found: how many fixed keys
/// the row held (sibling names are unique, so a row with no child beside
/// them has none of the further keys).
template <class Record>
void ReadExtraFields(const CInterDpNode* rowNode, size_t found, Record& record)
{
    if (rowNode == nullptr || rowNode->ChildrenSize() <= found) {
        return;
    }
    const auto& keys = ExtraKeysOf(record);
    for (size_t k = 0; k < keys.size(); ++k) {
        const auto text = Lookup(rowNode, found + k, keys[k]);
        if (text) {
            record.AnyFieldAt(Record::kFieldCount + static_cast<int>(k)) = *text;
        }
    }
}

/// The decimal text of a row index, without allocating.
class CRowName {
public:
    explicit CRowName(int i)
    {
        auto n = static_cast<unsigned>(i);
        do {
            m_digits[--m_first] = static_cast<wchar_t>(L'0' + n % 10);
            n /= 10;
        } while (n != 0);
    }
    std::wstring_view View() const
    {
        return {m_digits.data() + m_first, m_digits.size() - m_first};
    }

private:
    std::array<wchar_t, 10> m_digits{};
    size_t m_first = 10;
};

/// The bytes of an empty root record.
constexpr size_t kRootSize = 18;

/// The bytes WriteTable gives for a table (none for an empty one).
template <class Record, size_t N>
size_t TableSize(std::wstring_view group, const CArray<Record>& rows,
                 const std::array<std::wstring_view, N>& keys, bool extras)
{
    if (rows.IsEmpty()) {
        return 0;
    }
    size_t size = CIdpWriter::RecordSize(group, {});
    for (int i = 0; i < rows.GetSize(); ++i) {
        size += CIdpWriter::RecordSize(std::to_wstring(i), {});
        for (size_t f = 0; f < N; ++f) {
            size += CIdpWriter::RecordSize(keys[f], rows[i].FieldAt(static_cast<int>(f)));
        }
        ForEachExtraField(rows[i], extras,
                          [&size](std::wstring_view key, const std::wstring& text) {
                              size += CIdpWriter::RecordSize(key, text);
                          });
    }
    return size;
}

/// The records of one table in the archive's encoding, as StoreTable puts
/// them into a tree and Serialize writes that tree.
template <class Record, size_t N>
void WriteTable(CIdpWriter& out, std::wstring_view group, const CArray<Record>& rows,
                const std::array<std::wstring_view, N>& keys, bool extras)
{
    out.Node(group, 0, 0, {}, static_cast<size_t>(rows.GetSize()));
    for (int i = 0; i < rows.GetSize(); ++i) {
        const Record& row = rows[i];
        out.Node(std::to_wstring(i), 0, 0, {}, N + ExtraFieldCount(row, extras));
        for (size_t f = 0; f < N; ++f) {
            const std::wstring& text = row.FieldAt(static_cast<int>(f));
            out.Node(keys[f], ValueCount(text), 0, text, 0);
        }
        ForEachExtraField(row, extras, [&out](std::wstring_view key, const std::wstring& text) {
            out.Node(key, ValueCount(text), 0, text, 0);
        });
    }
}

/// The project group's path prefix, "工程信息\".
std::wstring ProjectPrefix()
{
    return std::wstring(archive::kProjectGroup) + std::wstring(kSeparator);
}

void StoreProject(CInterDpData& store, const CProjectInfo& project)
{
    if (project.IsEmpty()) {
        return;
    }
    const std::wstring prefix = ProjectPrefix();
    for (int f = 0; f < CProjectInfo::kFieldCount; ++f) {
        const std::wstring& text = project.FieldAt(f);
        store.SetSubValueW(prefix + std::wstring(archive::kProjectKeys[static_cast<size_t>(f)]),
                           ValueCount(text), std::wstring_view(text), 0);
    }
}

/// A missing group or key reads as empty text.
void RestoreProject(const CInterDpData& store, CProjectInfo& project)
{
    const CInterDpNode* group = store.GetSubValueFromPathW(0, std::wstring(archive::kProjectGroup));
    for (int f = 0; f < CProjectInfo::kFieldCount; ++f) {
        const auto field = static_cast<size_t>(f);
        const auto text = Lookup(group, field, archive::kProjectKeys[field]);
        project.FieldAt(f) = text ? std::wstring(*text) : std::wstring();
    }
}

size_t ProjectSize(const CProjectInfo& project)
{
    if (project.IsEmpty()) {
        return 0;
    }
    size_t size = CIdpWriter::RecordSize(archive::kProjectGroup, {});
    for (int f = 0; f < CProjectInfo::kFieldCount; ++f) {
        size += CIdpWriter::RecordSize(archive::kProjectKeys[static_cast<size_t>(f)],
                                       project.FieldAt(f));
    }
    return size;
}

void WriteProject(CIdpWriter& out, const CProjectInfo& project)
{
    out.Node(archive::kProjectGroup, 0, 0, {}, CProjectInfo::kFieldCount);
    for (int f = 0; f < CProjectInfo::kFieldCount; ++f) {
        const std::wstring& text = project.FieldAt(f);
        out.Node(archive::kProjectKeys[static_cast<size_t>(f)], ValueCount(text), 0, text, 0);
    }
}

}  // namespace

void StoreRecords(CInterDpData& store, const CLoadArray& loads,
                  const CTransformerArray& transformers)
{
    store.ClearDataFromMemory();
    StoreTable(store, archive::kLoadGroup, loads, archive::kLoadKeys, true);
    StoreTable(store, archive::kTransformerGroup, transformers, archive::kTransformerKeys,
               HasFireRoles(loads));
}

void LoadRecords(const CInterDpData* store, CLoadArray& loads, CTransformerArray& transformers)
{
    loads.RemoveAll();
    transformers.RemoveAll();
    if (store == nullptr) {
        return;
    }

    if (const CInterDpNode* table =
            store->GetSubValueFromPathW(0, std::wstring(archive::kLoadGroup))) {
        const int rows = table->ChildCount();
        loads.Reserve(std::max(rows, 0));
        for (int i = 0; i < rows; ++i) {
            const CRowName row(i);
            const CInterDpNode* rowNode = ChildNear(table, static_cast<size_t>(i), row.View());
            CLoadCalData& record = loads[loads.Add(CLoadCalData())];
            if (i == 0) {
                // The array was sized above and is filled now: large pages for it.
                AdviseHugePages(&record, sizeof(CLoadCalData) * static_cast<size_t>(rows));
            }
            size_t found = 0;
            for (int f = 0; f < CLoadCalData::kFieldCount; ++f) {
                const auto field = static_cast<size_t>(f);
                const auto text = Lookup(rowNode, field, archive::kLoadKeys[field]);
                if (text) {
                    record.FieldAt(f) = *text;
                    ++found;
                } else if (f == CLoadCalData::kCircuitNo) {
                    record.FieldAt(f) = row.View();
                } else {
                    record.FieldAt(f) = archive::kLoadReadDefaults[field];
                }
            }
            ReadExtraFields(rowNode, found, record);
        }
    }

    if (const CInterDpNode* table =
            store->GetSubValueFromPathW(0, std::wstring(archive::kTransformerGroup))) {
        const int rows = table->ChildCount();
        for (int i = 0; i < rows; ++i) {
            const CRowName row(i);
            const CInterDpNode* rowNode = ChildNear(table, static_cast<size_t>(i), row.View());
            if (Lookup(rowNode, CTransformerCalData::kName,
                       archive::kTransformerKeys[CTransformerCalData::kName]) == std::nullopt) {
                continue;
            }
            CTransformerCalData& record = transformers[transformers.Add(CTransformerCalData())];
            size_t found = 0;
            for (int f = 0; f < CTransformerCalData::kFieldCount; ++f) {
                const auto field = static_cast<size_t>(f);
                const auto text = Lookup(rowNode, field, archive::kTransformerKeys[field]);
                if (text) {
                    record.FieldAt(f) = *text;
                    ++found;
                } else {
                    record.FieldAt(f) = archive::kTransformerReadDefaults[field];
                }
            }
            ReadExtraFields(rowNode, found, record);
        }
    }
}

void StoreDocument(CInterDpData& store, const CLoadCalDocument& doc)
{
    StoreRecords(store, doc.loads, doc.transformers);
    StoreTable(store, archive::kBoardGroup, doc.boards, archive::kBoardKeys, HasFireRoles(doc));
    if (doc.rules != CalcRules::Original) {
        const std::wstring name(RulesName(doc.rules));
        store.SetSubValueW(std::wstring(archive::kRulesKey), ValueCount(name),
                           std::wstring_view(name), 0);
    }
    StoreProject(store, doc.project);
}

void RestoreDocument(const CInterDpData* store, CLoadCalDocument& doc)
{
    CLoadCalDocument read;
    LoadRecords(store, read.loads, read.transformers);
    if (store == nullptr) {
        doc = std::move(read);
        return;
    }
    if (const CInterDpNode* table =
            store->GetSubValueFromPathW(0, std::wstring(archive::kBoardGroup))) {
        const CBoardCalData defaults;
        const int rows = table->ChildCount();
        for (int i = 0; i < rows; ++i) {
            const CRowName row(i);
            const CInterDpNode* rowNode = ChildNear(table, static_cast<size_t>(i), row.View());
            if (Lookup(rowNode, CBoardCalData::kName, archive::kBoardKeys[CBoardCalData::kName]) ==
                std::nullopt) {
                continue;
            }
            CBoardCalData& record = read.boards[read.boards.Add(CBoardCalData())];
            size_t found = 0;
            for (int f = 0; f < CBoardCalData::kFieldCount; ++f) {
                const auto field = static_cast<size_t>(f);
                const auto text = Lookup(rowNode, field, archive::kBoardKeys[field]);
                record.FieldAt(f) = text ? std::wstring(*text) : defaults.FieldAt(f);
                found += text ? 1 : 0;
            }
            ReadExtraFields(rowNode, found, record);
        }
    }
    if (const CInterDpNode* node =
            store->GetSubValueFromPathW(0, std::wstring(archive::kRulesKey))) {
        const std::wstring_view name = node->ValueText();
        const auto rules = RulesFromName(name);
        if (!rules) {
            throw DocumentError(
                "\"" + ToUtf8(archive::kRulesKey) + "\" names the rule set \"" + ToUtf8(name) +
                "\", which this program does not know (known: " + ToUtf8(kRulesOriginalName) +
                ", " + ToUtf8(kRulesGB51348Name) + ")");
        }
        read.rules = *rules;
    }
    RestoreProject(*store, read.project);
    doc = std::move(read);
}

std::string EncodeArchive(const CLoadCalDocument& doc)
{
    const CLoadArray& loads = doc.loads;
    const CTransformerArray& transformers = doc.transformers;
    const CBoardArray& boards = doc.boards;
    const bool rules = doc.rules != CalcRules::Original;
    const std::wstring rulesName(RulesName(doc.rules));
    const bool fire = HasFireRoles(doc);
    CIdpWriter out(
        TableSize(archive::kLoadGroup, loads, archive::kLoadKeys, true) +
        TableSize(archive::kTransformerGroup, transformers, archive::kTransformerKeys, fire) +
        TableSize(archive::kBoardGroup, boards, archive::kBoardKeys, fire) +
        (rules ? CIdpWriter::RecordSize(archive::kRulesKey, rulesName) : 0) +
        ProjectSize(doc.project) + kRootSize);
    out.Node({}, 0, 0, {},
             (loads.IsEmpty() ? 0U : 1U) + (transformers.IsEmpty() ? 0U : 1U) +
                 (boards.IsEmpty() ? 0U : 1U) + (rules ? 1U : 0U) +
                 (doc.project.IsEmpty() ? 0U : 1U));
    if (!loads.IsEmpty()) {
        WriteTable(out, archive::kLoadGroup, loads, archive::kLoadKeys, true);
    }
    if (!transformers.IsEmpty()) {
        WriteTable(out, archive::kTransformerGroup, transformers, archive::kTransformerKeys, fire);
    }
    if (!boards.IsEmpty()) {
        WriteTable(out, archive::kBoardGroup, boards, archive::kBoardKeys, fire);
    }
    if (rules) {
        out.Node(archive::kRulesKey, ValueCount(rulesName), 0, rulesName, 0);
    }
    if (!doc.project.IsEmpty()) {
        WriteProject(out, doc.project);
    }
    return out.Finish();
}

void SaveArchiveFile(const std::wstring& path, const CLoadCalDocument& doc)
{
    const auto refuse = [&](std::wstring_view group, int rows) {
        if (rows > static_cast<int>(kIdpMaxChildren)) {
            throw DocumentError(
                TooManyChildrenError(path, std::wstring(group), static_cast<size_t>(rows)));
        }
    };
    refuse(archive::kLoadGroup, doc.loads.GetSize());
    refuse(archive::kTransformerGroup, doc.transformers.GetSize());
    refuse(archive::kBoardGroup, doc.boards.GetSize());
    WriteFileAtomically(ToFsPath(path), EncodeArchive(doc));
}

void LoadArchiveFile(const std::wstring& path, CLoadCalDocument& doc)
{
    CInterDpData store;
    if (store.ReadDataFromIdpFile(path) != static_cast<int16_t>(IdpStatus::Ok)) {
        throw DocumentError(store.LastError());
    }
    try {
        RestoreDocument(&store, doc);
    } catch (const DocumentError& e) {
        throw DocumentError("cannot read \"" + ToUtf8(path) + "\": " + e.what());
    }
}

}  // namespace loadcal
