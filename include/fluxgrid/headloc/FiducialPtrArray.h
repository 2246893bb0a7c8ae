/// \file FiducialPtrArray.h
/// The list type of head localization. Its elements are of two kinds, a
/// bare fiducial set (the object kind, which hosts add by hand) and a
/// `HEAD_LOCATION_TRIAL` (the record kind, which a file read builds), or
/// null. Each element remembers its kind, so that every operation can
/// release it and see the fiducial set it stands for, whatever kind it is.
///
/// The list owns its elements: `Add` takes ownership, `ReleaseAt`,
/// `SetSize` and `RemoveAll` release what they drop, and the destructor
/// releases whatever is left. Every index is checked: one out of bounds
/// raises `CInvalidArgException`.
///
/// A record either stands alone (a host's `new HEAD_LOCATION_TRIAL`) or
/// lies in a block of records that a file read made in a row. Either is
/// released on its own, at once; a block's memory goes back when its last
/// record is released.
#pragma once

#include <fluxgrid/headloc/HeadLocationTrial.h>
#include <fluxgrid/platform/Types.h>
#include <fluxgrid/records/Fiducial.h>

#include <cstddef>
#include <memory>
#include <variant>
#include <vector>

namespace fluxgrid::headloc {
class TrialBlock;
}

/// Releases a record of the record kind: one that stands alone by `delete`,
/// one in a block through its block.
struct CTrialRelease {
    /// The record's block; null for a record that stands alone.
    fluxgrid::headloc::TrialBlock* block = nullptr;
    void operator()(HEAD_LOCATION_TRIAL* record) const noexcept;
};

/// A record of the record kind and what releases it.
using CTrialPtr = std::unique_ptr<HEAD_LOCATION_TRIAL, CTrialRelease>;

class CFiducialPtrArray {
  public:
    CFiducialPtrArray();
    /// Elements are owned, so a list is neither copied nor shared.
    CFiducialPtrArray(const CFiducialPtrArray&) = delete;
    CFiducialPtrArray& operator=(const CFiducialPtrArray&) = delete;
    /// Releases every element that is left.
    ~CFiducialPtrArray();

    INT_PTR GetSize() const { return static_cast<INT_PTR>(m_items.size()); }
    INT_PTR GetCount() const { return GetSize(); }
    bool IsEmpty() const { return m_items.empty(); }

    /// Appends a fiducial set of the object kind and takes ownership of it;
    /// a null pointer appends a null element. Returns the new index.
    INT_PTR Add(CFiducialqv* object);
    /// Appends a record of the record kind and takes ownership of it; a null
    /// pointer appends a null element. Returns the new index.
    INT_PTR Add(HEAD_LOCATION_TRIAL* record);
    /// Appends a record with what releases it and takes ownership of it; a
    /// null pointer appends a null element. Returns the new index.
    INT_PTR Add(CTrialPtr record);
    /// Appends a null element. Returns the new index.
    INT_PTR Add(std::nullptr_t);

    /// The record at `index`, or null when that element is not a record.
    HEAD_LOCATION_TRIAL* GetRecordAt(INT_PTR index) const;
    /// The fiducial set that the element at `index` stands for: the object
    /// itself, or the record's `trialFiducial`; null for a null element.
    CFiducialqv* GetFiducialAt(INT_PTR index) const;

    /// Releases the element at `index`, whatever its kind, and leaves a null
    /// element in its place.
    void ReleaseAt(INT_PTR index);
    /// Sets the count. Elements dropped from the end are released; new ones
    /// are null. A negative count raises `CInvalidArgException`.
    void SetSize(INT_PTR newSize);
    /// Releases every element and empties the list.
    void RemoveAll();
    /// Makes room for `count` elements in all, so that appending them moves
    /// nothing. Changes no element.
    void Reserve(INT_PTR count);

  private:
    using Element = std::variant<std::monostate, std::unique_ptr<CFiducialqv>, CTrialPtr>;

    // The storage of the elements: that of a long list comes straight from
    // the system, in huge pages where they are offered, since a million
    // elements would otherwise be paid in thousands of page faults.
    struct ElementAllocator {
        using value_type = Element;
        template <class U>
        struct rebind {
            using other = ElementAllocator;
        };
        Element* allocate(std::size_t count);
        void deallocate(Element* elements, std::size_t count) noexcept;
        bool operator==(const ElementAllocator&) const = default;
    };

    std::size_t checked(INT_PTR index) const;
    INT_PTR append(Element element);

    std::vector<Element, ElementAllocator> m_items;
};
