#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <vector>

#include "model/ProjectInfo.h"
#include "model/Records.h"
#include "model/Rules.h"

namespace loadcal {

/// One change of one record array: a record replaced, inserted or removed at
/// an index. A plain value; it holds copies of the records it touched.
template <class Record>
struct CRecordChange {
    enum class Kind { Set, Insert, Remove };
    Kind kind = Kind::Set;
    int index = 0;
    Record before;  ///< Set and Remove: the record as it was
    Record after;   ///< Set and Insert: the record as it became
};

/// What a document holds beside its records: the project information its
/// outputs carry and the rule set it is calculated under. A plain value.
struct CDocumentProperties {
    CProjectInfo project;
    CalcRules rules = CalcRules::Original;
    friend bool operator==(const CDocumentProperties&, const CDocumentProperties&) = default;
};

/// A change of the document's properties, as it was and as it became.
struct CPropertiesChange {
    CDocumentProperties before;
    CDocumentProperties after;
};

/// What one user action changed in the document: the changes of each record
/// array in the order they happened, and a change of its properties (made
/// before any record changed). Undo applies their inverses in reverse
/// order, redo applies them again in order.
struct CDocumentStep {
    std::vector<CRecordChange<CLoadCalData>> loads;
    std::vector<CRecordChange<CTransformerCalData>> transformers;
    std::vector<CRecordChange<CBoardCalData>> boards;
    std::optional<CPropertiesChange> properties;
    bool IsEmpty() const
    {
        return loads.empty() && transformers.empty() && boards.empty() && !properties;
    }
};

/// A record array whose every change is written into a step as it happens
/// (or not written, without a step), and whose changed indices are listed in
/// touched when given (-1: rows came or went). Borrows all three.
template <class Record>
class CRecordedArray {
public:
    CRecordedArray(CArray<Record>& records, std::vector<CRecordChange<Record>>* log,
                   std::vector<int>* touched = nullptr)
        : m_records(records), m_log(log), m_touched(touched)
    {}

    int GetSize() const { return m_records.GetSize(); }
    const Record& operator[](int i) const { return m_records[i]; }

    /// Changes record i in place through edit(Record&). Consecutive changes of
    /// the same record within a step make one entry.
    template <class Edit>
    void Modify(int i, Edit edit)
    {
        Record& record = m_records.ElementAt(i);
        Touch(i);
        if (!m_log) {
            edit(record);
            return;
        }
        const bool merge =
            !m_log->empty() && m_log->back().kind == Change::Kind::Set && m_log->back().index == i;
        if (!merge) {
            m_log->push_back({Change::Kind::Set, i, record, Record()});
        }
        // A change that ends where the entry began leaves no entry; one cut
        // short by an exception keeps what it did.
        const auto settle = [&] {
            if (m_log->back().before == record) {
                m_log->pop_back();
            } else {
                m_log->back().after = record;
            }
        };
        try {
            edit(record);
        } catch (...) {
            settle();
            throw;
        }
        settle();
    }
    /// Writes an entry for a change of record i made behind this array's
    /// back (before: the record as it was), when there was one.
    void Note(int i, const Record& before)
    {
        Touch(i);
        if (m_log && !(before == m_records[i])) {
            m_log->push_back({Change::Kind::Set, i, before, m_records[i]});
        }
    }
    void Set(int i, const Record& record)
    {
        Modify(i, [&record](Record& r) { r = record; });
    }
    void InsertAt(int i, const Record& record)
    {
        m_records.InsertAt(i, record);
        Touch(-1);
        if (m_log) {
            m_log->push_back({Change::Kind::Insert, i, Record(), record});
        }
    }
    void Add(const Record& record) { InsertAt(m_records.GetSize(), record); }
    /// Removes record i. A record inserted by the same step and only changed
    /// since leaves no entry at all (the entry row's trial record).
    void RemoveAt(int i)
    {
        Touch(-1);
        if (m_log) {
            auto born = m_log->end();
            while (born != m_log->begin() && (born - 1)->index == i &&
                   (born - 1)->kind == Change::Kind::Set) {
                --born;
            }
            if (born != m_log->begin() && (born - 1)->index == i &&
                (born - 1)->kind == Change::Kind::Insert) {
                m_log->erase(born - 1, m_log->end());
            } else {
                m_log->push_back({Change::Kind::Remove, i, m_records[i], Record()});
            }
        }
        m_records.RemoveAt(i);
    }

private:
    using Change = CRecordChange<Record>;
    void Touch(int i)
    {
        if (m_touched) {
            m_touched->push_back(i);
        }
    }
    CArray<Record>& m_records;
    std::vector<Change>* m_log;
    std::vector<int>* m_touched;
};

/// The undo history of one open document: the steps done, a position among
/// them (steps before it can be undone, steps after it redone) and which
/// position is the saved state. Holds at most kMaxSteps steps; the oldest go
/// first. Each step keeps only the records it touched, so memory grows with
/// the edits, not with the document.
class CEditHistory {
public:
    static constexpr size_t kMaxSteps = 200;

    /// Forgets every step; the document as it stands is the saved state when
    /// clean is true, else no reachable state is.
    void Clear(bool clean);
    /// Adds a step done just now; the steps that could be redone are dropped.
    void Push(CDocumentStep step);
    bool CanUndo() const { return m_nPos > 0; }
    bool CanRedo() const { return m_nPos < m_steps.size(); }
    /// The step to undo, and the position moves back; null when there is none.
    const CDocumentStep* Undo();
    /// The step to redo, and the position moves on; null when there is none.
    const CDocumentStep* Redo();
    /// The document as it stands is the one on disk.
    void MarkSaved() { m_saved = m_nDropped + m_nPos; }
    bool IsAtSaved() const { return m_saved && *m_saved == m_nDropped + m_nPos; }
    size_t GetUndoCount() const { return m_nPos; }
    size_t GetRedoCount() const { return m_steps.size() - m_nPos; }

private:
    std::deque<CDocumentStep> m_steps;
    size_t m_nPos = 0;      ///< steps before it are done
    size_t m_nDropped = 0;  ///< steps forgotten at the front, for the saved position
    std::optional<size_t> m_saved = size_t{0};  ///< absolute position of the saved state
};

}  // namespace loadcal
