#include "QcfLib/Reflection.h"

#include <map>

/// The list of all records. The records themselves stand in the wings that own the types.
namespace Qcf {

// A type that is declared in the header and described nowhere does not link.
std::span<TypeData const * const> reflectedTypes() {
#define QCF_RECORD(Type) &TypeDataOf<Type>::get(),
    static TypeData const * const types[] = {QCF_FOR_EACH_REFLECTED(QCF_RECORD)};
#undef QCF_RECORD
    return types;
}

TypeData const * findType(std::string_view qualifiedName) {
    // Found by a view, without a string for each question.
    using Types = std::map<String, TypeData const *, std::less<>>;
    static Types const types = [] {
        Types all;
        for (TypeData const * const type : reflectedTypes()) {
            all.emplace(type->qualifiedName(), type);
        }
        for (Eval::NodeClass const & nodeClass : Eval::nodeClasses()) {
            all.emplace(nodeClass.qualifiedName(), &nodeClass);
        }
        return all;
    }();
    auto const found = types.find(qualifiedName);
    return found == types.end() ? nullptr : found->second;
}

} // namespace Qcf
