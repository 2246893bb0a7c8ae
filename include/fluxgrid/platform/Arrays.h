/// \file Arrays.h
/// The framework's growable arrays. Every index is checked: one out of
/// bounds raises `CInvalidArgException`. Growth is amortised.
#pragma once

#include <fluxgrid/platform/CString.h>
#include <fluxgrid/platform/Exceptions.h>
#include <fluxgrid/platform/Types.h>

#include <vector>

namespace fluxgrid::detail {
/// The one implementation behind `CPtrArray` and `CStringArray`.
template <class T>
class CheckedArray {
  public:
    INT_PTR GetSize() const { return static_cast<INT_PTR>(m_items.size()); }
    INT_PTR GetCount() const { return GetSize(); }
    INT_PTR GetUpperBound() const { return GetSize() - 1; }
    bool IsEmpty() const { return m_items.empty(); }

    /// Appends `item` and returns its index.
    INT_PTR Add(T item) {
        m_items.push_back(std::move(item));
        return GetSize() - 1;
    }
    const T& GetAt(INT_PTR index) const { return m_items[checked(index)]; }
    T& ElementAt(INT_PTR index) { return m_items[checked(index)]; }
    void SetAt(INT_PTR index, T item) { m_items[checked(index)] = std::move(item); }
    T& operator[](INT_PTR index) { return ElementAt(index); }
    const T& operator[](INT_PTR index) const { return GetAt(index); }

    /// Sets the count; new elements are value-initialised. `growBy` is
    /// accepted for compatibility: growth is always amortised.
    void SetSize(INT_PTR newSize, INT_PTR growBy = -1) {
        (void)growBy;
        if (newSize < 0) {
            AfxThrowInvalidArgException();
        }
        m_items.resize(static_cast<std::size_t>(newSize));
    }
    void RemoveAll() { m_items.clear(); }
    void RemoveAt(INT_PTR index, INT_PTR count = 1) {
        if (count < 0 || index < 0 || index + count > GetSize()) {
            AfxThrowInvalidArgException();
        }
        m_items.erase(m_items.begin() + index, m_items.begin() + index + count);
    }
    void InsertAt(INT_PTR index, T item) {
        if (index < 0 || index > GetSize()) {
            AfxThrowInvalidArgException();
        }
        m_items.insert(m_items.begin() + index, std::move(item));
    }

    auto begin() const { return m_items.begin(); }
    auto end() const { return m_items.end(); }

  private:
    std::size_t checked(INT_PTR index) const {
        if (index < 0 || index >= GetSize()) {
            AfxThrowInvalidArgException();
        }
        return static_cast<std::size_t>(index);
    }

    std::vector<T> m_items;
};
}  // namespace fluxgrid::detail

/// An array of untyped pointers. It owns nothing: what they point to is
/// released by whoever put it there.
class CPtrArray : public fluxgrid::detail::CheckedArray<void*> {};

class CStringArray : public fluxgrid::detail::CheckedArray<CString> {};
