#pragma once

#include <string>
#include <utility>
#include <vector>

#include "model/Errors.h"

namespace loadcal {

/// A growable, ordered array of values (records, ints, texts) with
/// range-checked indexed access. It owns its elements; every indexed read or
/// write outside 0 <= i < count throws CInvalidArgException. Elements are
/// appended by SetAtGrow at index == count or by Add, removed by RemoveAt (the
/// elements behind move up) and keep insertion order.
template <class T>
class CArray {
public:
    CArray() = default;
    CArray(std::initializer_list<T> init) : m_items(init) {}

    int GetSize() const { return static_cast<int>(m_items.size()); }
    int GetCount() const { return GetSize(); }
    bool IsEmpty() const { return m_items.empty(); }

    const T& GetAt(int i) const { return m_items[Check(i)]; }
    T& ElementAt(int i) { return m_items[Check(i)]; }
    const T& operator[](int i) const { return GetAt(i); }
    T& operator[](int i) { return ElementAt(i); }

    void SetAt(int i, T value) { m_items[Check(i)] = std::move(value); }

    /// Sets element i, growing the array with default elements when i >= count.
    void SetAtGrow(int i, T value)
    {
        if (i < 0) {
            Throw(i);
        }
        if (static_cast<size_t>(i) >= m_items.size()) {
            m_items.resize(static_cast<size_t>(i) + 1);
        }
        m_items[static_cast<size_t>(i)] = std::move(value);
    }

    int Add(T value)
    {
        m_items.push_back(std::move(value));
        return GetSize() - 1;
    }

    /// Inserts before index i; i == count appends.
    void InsertAt(int i, T value)
    {
        CheckInsert(i);
        m_items.insert(m_items.begin() + i, std::move(value));
    }

    /// Inserts all elements of another array before index i; i == count appends.
    void InsertAt(int i, const CArray& other)
    {
        CheckInsert(i);
        m_items.insert(m_items.begin() + i, other.m_items.begin(), other.m_items.end());
    }

    void Append(const CArray& other) { m_items.insert(m_items.end(), other.begin(), other.end()); }

    void RemoveAt(int i, int count = 1)
    {
        if (count < 0 || i < 0 ||
            static_cast<size_t>(i) + static_cast<size_t>(count) > m_items.size()) {
            Throw(i);
        }
        m_items.erase(m_items.begin() + i, m_items.begin() + i + count);
    }

    void RemoveAll() { m_items.clear(); }
    void Reserve(int n) { m_items.reserve(static_cast<size_t>(n)); }

    auto begin() const { return m_items.begin(); }
    auto end() const { return m_items.end(); }
    auto begin() { return m_items.begin(); }
    auto end() { return m_items.end(); }

    friend bool operator==(const CArray&, const CArray&) = default;

private:
    size_t Check(int i) const
    {
        if (i < 0 || static_cast<size_t>(i) >= m_items.size()) {
            Throw(i);
        }
        return static_cast<size_t>(i);
    }
    void CheckInsert(int i) const
    {
        if (i < 0 || static_cast<size_t>(i) > m_items.size()) {
            Throw(i);
        }
    }
    [[noreturn]] void Throw(int i) const
    {
        throw CInvalidArgException("array index " + std::to_string(i) + " outside 0.." +
                                   std::to_string(static_cast<long long>(m_items.size()) - 1));
    }

    std::vector<T> m_items;
};

/// Texts kept in order (CStringArray).
using CStringArray = CArray<std::wstring>;

}  // namespace loadcal
