#pragma once

#include "QcfLib/FunctionMetadata.h"
#include "Text/ListReader.h"

#include <array>
#include <map>

namespace Qcf::Text {

/// The lists that the texts declare, by kind and name. Each kind has names of its own; two lists of
/// one kind and name are told when it is made.
class DeclaredLists {
public:
    /// The lists must outlive it and stay where they are.
    DeclaredLists(std::vector<ListDeclaration> const & lists, Sources const & sources,
                  Messages & messages);

    // Null where there is none.
    ListDeclaration const * find(Lists::ListKind kind, std::string_view name) const;
    ListDeclaration const * findAny(std::string_view name) const;

    /// The name of that kind that was probably meant; empty where none is near.
    String nearestName(Lists::ListKind kind, std::string_view name) const;

private:
    std::array<std::map<std::string_view, ListDeclaration const *>, 8> lists_;
};

/// The kind under which a list of that slot kind is declared.
Lists::ListKind declaredKind(SlotKind kind);

} // namespace Qcf::Text
