#pragma once

#include "Documents/Program.h"

#include <unordered_set>

namespace Qcf::Questions {

/// What a name stands for in a program: the lists of that name, whatever their kinds, or an
/// attribute.
///
/// Of an attribute nodes read it that read it itself, its `input.` twin, or what is derived from it
/// (`as_path.length` from `as_path`). The name of a derived attribute stands for that alone.
struct NamedThing {
    String name;
    std::vector<SlotKind> lists = {};            ///< kinds of the lists that functions name
    Eval::NodeClass const * attribute = nullptr; ///< null for lists
    std::optional<std::size_t> routeIndex = std::nullopt; ///< of it or of what it is derived from

    bool isList() const { return attribute == nullptr; }
    /// Whether the attribute's name is that of a member of routes.
    bool isDerived() const;
};

/// A place where a function names the thing.
struct NamingPlace {
    Eval::Function const * function;
    Eval::Expression const * node; ///< the innermost test, change or call
};

/// Where a program names a thing.
struct NamedReaders {
    std::vector<NamingPlace> places;                    ///< by function, in the order of the text
    std::unordered_set<Eval::Expression const *> nodes; ///< of the places
    std::vector<std::pair<Eval::Function const *, std::vector<Eval::Function const *>>>
        callers; ///< functions that reach it by calls alone, with those that they call for it
};

/// What the name means in the program; nothing where it is neither a list that functions name nor
/// an attribute. Where it is both it is the list.
std::optional<NamedThing> thingOf(Documents::Program const & program, String const & name);

/// Where functions of the program name it, and which functions reach those.
NamedReaders readersOf(Documents::Program const & program, NamedThing const & thing);

} // namespace Qcf::Questions
