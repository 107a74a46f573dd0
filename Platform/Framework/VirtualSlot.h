#pragma once

#include <cstddef>
#include <cstring>

/// Whether a derived class overrides a virtual operation, asked without calling it.
///
/// Reads the table of virtual functions as the Itanium C++ ABI lays it out, which is that of GCC
/// and Clang on every Unix. Elsewhere the answer is always yes, which costs a call and nothing
/// else.
///
/// For bases with operations that most derived classes leave alone: a call that would only reach
/// the base's empty function, or prepare arguments that nobody reads, can be left out.
#if defined(__GXX_ABI_VERSION)
#define QCF_VIRTUAL_SLOTS_READABLE 1
#else
#define QCF_VIRTUAL_SLOTS_READABLE 0
#endif

/// The virtual functions of the class that an object is at the moment: in a base's constructor, the
/// base's own. A base that wants to know what a derived class overrides keeps its own there, and
/// compares later:
///
///     Base::Base() : ownSlots_(virtualSlotsOf(*this)) {}
///     bool const isOverridden = overridesSlot(*this, ownSlots_, &Base::operation);
using VirtualSlots = unsigned char const *;

/// Where an object's table starts. Not to be followed, only compared and handed to `overridesSlot`.
/// Its class must have virtual functions, and its table pointer at the start of the object.
template <typename Object>
VirtualSlots virtualSlotsOf(Object const & object) {
    VirtualSlots slots = nullptr;
    std::memcpy(&slots, static_cast<void const *>(&object), sizeof slots);
    return slots;
}

#if QCF_VIRTUAL_SLOTS_READABLE
/// Where the slot of `operation`, a virtual member function of a class whose objects start with
/// their table pointer, lies in the table: bytes from its start.
template <typename Operation>
std::ptrdiff_t virtualSlotOffset(Operation operation) {
    struct {
        std::ptrdiff_t pointer;
        std::ptrdiff_t adjustment;
    } member;
    static_assert(sizeof operation == sizeof member);
    std::memcpy(&member, &operation, sizeof member);
// On these machines the offset itself is kept; elsewhere it is kept plus one, which marks it as
// virtual.
#if defined(__arm__) || defined(__aarch64__)
    return member.pointer; // the adjustment carries the virtual bit
#else
    return member.pointer - 1;
#endif
}
#endif

/// Whether the object's class has another function than `baseSlots` in the place of `operation`, as
/// above. The answer is that of the most derived class, and the same for all its objects. It costs
/// a comparison of two words: ask once an object rather than once a call.
template <typename Object, typename Operation>
bool overridesSlot(Object const & object, VirtualSlots baseSlots, Operation operation) {
#if QCF_VIRTUAL_SLOTS_READABLE
    std::ptrdiff_t const offset = virtualSlotOffset(operation);
    return std::memcmp(virtualSlotsOf(object) + offset, baseSlots + offset, sizeof(void *)) != 0;
#else
    return true;
#endif
}
