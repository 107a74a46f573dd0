#pragma once

#include "Platform/Framework/ValueText.h"
#include "QcfLib/QcfEvalContextGenerated.h"

/// What the fields of the attribute layer show by reflection. What counts for an earlier route only
/// may be gone, and is not looked at. Private to the record of the layer, and costly to include.
namespace Qcf::Eval {

using Cache = QcfEvalContextCacheGenerated;

/// What of a value is shown: itself, or for a stored set the pointer that readers get.
template <typename Value>
Value const & shown(Value const & value) {
    return value;
}
template <typename Set>
PtrConst<Set> const & shown(StoredSet<Set> const & set) {
    return set.ptr();
}
/// A path may be that of an earlier route: whether there is one.
inline bool shown(Routing::Bgp::AspathContainerFromExisting * const & path) {
    return path != nullptr;
}

/// A field of the content, whether it counts at present or not.
template <auto stored>
constexpr FieldInfo storedField(char const * name, char const * type) {
    return fieldOf<AttributeContent, [](AttributeContent const & content) {
        return valueText::of(shown(content.*stored));
    }>(name, type);
}

/// Empty unless it is populated.
/// A set that is not populated still holds the values of another route.
template <Cache::Input input, auto slot>
constexpr FieldInfo cachedField(char const * name, char const * type) {
    return fieldOf<Cache, [](Cache const & cache) {
        return cache.isPopulated(input) ? valueText::of(cache.*slot) : String();
    }>(name, type);
}
/// Tells an empty set from one that nobody asked for.
template <Cache::Input input>
constexpr FieldInfo populatedField(char const * name) {
    return fieldOf<Cache, [](Cache const & cache) { return cache.isPopulated(input); }>(name,
                                                                                        "bool");
}

/// The flag decides whether the content's field counts.
template <ModifiableAttribute attribute>
constexpr FieldInfo modifiedField(char const * name) {
    return fieldOf<GeneratedEvalContext, [](GeneratedEvalContext const & context) {
        return context.isModified(attribute);
    }>(name, "bool");
}

} // namespace Qcf::Eval
