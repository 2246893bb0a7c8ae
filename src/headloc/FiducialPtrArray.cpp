#include <fluxgrid/headloc/FiducialPtrArray.h>
#include <fluxgrid/platform/Exceptions.h>

#include "headloc/TrialBlock.h"
#include "platform/PageMemory.h"

#include <limits>
#include <new>

void CTrialRelease::operator()(HEAD_LOCATION_TRIAL* record) const noexcept {
    if (block != nullptr) {
        block->release(record);
    } else {
        delete record;
    }
}

CFiducialPtrArray::CFiducialPtrArray() = default;

CFiducialPtrArray::~CFiducialPtrArray() = default;

INT_PTR CFiducialPtrArray::Add(CFiducialqv* object) {
    // Owned from the first line on, so that a failing append releases it.
    std::unique_ptr<CFiducialqv> owned(object);
    if (!owned) {
        return append(Element());
    }
    return append(Element(std::move(owned)));
}

INT_PTR CFiducialPtrArray::Add(HEAD_LOCATION_TRIAL* record) {
    return Add(CTrialPtr(record));
}

INT_PTR CFiducialPtrArray::Add(CTrialPtr owned) {
    if (!owned) {
        return append(Element());
    }
    return append(Element(std::move(owned)));
}

INT_PTR CFiducialPtrArray::Add(std::nullptr_t) {
    return append(Element());
}

INT_PTR CFiducialPtrArray::append(Element element) {
    m_items.push_back(std::move(element));
    return GetSize() - 1;
}

HEAD_LOCATION_TRIAL* CFiducialPtrArray::GetRecordAt(INT_PTR index) const {
    const Element& element = m_items[checked(index)];
    if (const auto* record = std::get_if<CTrialPtr>(&element)) {
        return record->get();
    }
    return nullptr;
}

CFiducialqv* CFiducialPtrArray::GetFiducialAt(INT_PTR index) const {
    const Element& element = m_items[checked(index)];
    if (const auto* object = std::get_if<std::unique_ptr<CFiducialqv>>(&element)) {
        return object->get();
    }
    if (const auto* record = std::get_if<CTrialPtr>(&element)) {
        return &(*record)->trialFiducial;
    }
    return nullptr;
}

void CFiducialPtrArray::ReleaseAt(INT_PTR index) {
    m_items[checked(index)] = Element();
}

void CFiducialPtrArray::SetSize(INT_PTR newSize) {
    if (newSize < 0) {
        AfxThrowInvalidArgException();
    }
    m_items.resize(static_cast<std::size_t>(newSize));
}

void CFiducialPtrArray::RemoveAll() {
    m_items.clear();
}

void CFiducialPtrArray::Reserve(INT_PTR count) {
    if (count > 0) {
        m_items.reserve(static_cast<std::size_t>(count));
    }
}

std::size_t CFiducialPtrArray::checked(INT_PTR index) const {
    if (index < 0 || index >= GetSize()) {
        AfxThrowInvalidArgException();
    }
    return static_cast<std::size_t>(index);
}

CFiducialPtrArray::Element* CFiducialPtrArray::ElementAllocator::allocate(std::size_t count) {
    if (count > std::numeric_limits<std::size_t>::max() / sizeof(Element)) {
        throw std::bad_array_new_length();
    }
    const std::size_t bytes = count * sizeof(Element);
    if (bytes < fluxgrid::platform::kSystemPageBlock) {
        return static_cast<Element*>(::operator new(bytes));
    }
    void* block = fluxgrid::platform::mapPages(bytes);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return static_cast<Element*>(block);
}

void CFiducialPtrArray::ElementAllocator::deallocate(Element* elements,
                                                     std::size_t count) noexcept {
    const std::size_t bytes = count * sizeof(Element);
    if (bytes < fluxgrid::platform::kSystemPageBlock) {
        ::operator delete(elements);
    } else {
        fluxgrid::platform::unmapPages(elements, bytes);
    }
}
