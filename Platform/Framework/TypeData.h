#pragma once

#include "Platform/Framework/Types.h"

#include <span>
#include <string_view>

class Entity;

/// One field of a type, as reflection tells of it. All texts are literals. Plain data, so that
/// whole tables of them are constants.
struct FieldInfo {      // NOLINT(clang-analyzer-optin.performance.Padding): rows read in this order
    char const * name;  ///< "lhs"
    char const * type;  ///< the declared type, "PtrConst<IntModifiable>"
    char const * wants; ///< the type without its pointer, "IntModifiable"
    bool optional = false; ///< a child that may be null
    /// For children of a node: whether that one may stand here. Null for other fields.
    bool (*accepts)(Entity const & child) = nullptr;
    /// The field's value in an object of the type, as text.
    String (*text)(void const * object) = nullptr;
    /// What the field means to its type: bits that the type's own module defines.
    U32 roles = 0;
    /// Of children of a node: what may stand here, in the module's own numbers. 0 for other fields.
    U16 wanted = 0;

    /// Whether the field is a child of a node.
    bool isNode() const { return accepts != nullptr; }
};

/// One enumerator of an enumeration, by the name that it has in the source.
struct EnumeratorInfo {
    char const * name;
    /// The value, widened from whatever the enumeration is stored in.
    U64 number;
};

/// What is known of a type at run time: one constant record a type, generated or written beside it.
/// See ValueText.h for the text of a whole value, and a library's Reflection.h for its types.
///
///     for (FieldInfo const & field : node.typeData().fields) {
///         std::cout << field.name << " is a " << field.wants << '\n';
///     }
///
/// Records are constant, live as long as the process and are read by any thread.
struct TypeData {
    /// What an object of the type is.
    enum class Kind : U8 {
        entity,      ///< counted, with a place in a tree of entities, and publishes its changes
        object,      ///< counted
        value,       ///< copied
        enumeration, ///< one of its enumerators
    };

    /// A record by itself says as little as possible: fields and enumerators are those of the type
    /// alone.
    Kind kind = Kind::value;
    char const * name = "";
    char const * nameSpace = ""; ///< "Qcf::Eval"; empty for the global one
    char const * base = "";      ///< the class it derives from, whose fields are not repeated
    std::span<FieldInfo const> fields = {};
    std::span<EnumeratorInfo const> enumerators = {};

    /// "Qcf::Eval::IntIs".
    String qualifiedName() const;
    /// The field of that name; null when the type itself has none.
    FieldInfo const * field(std::string_view fieldName) const;
    /// The enumerator of that number, or of that name; null when there is none.
    EnumeratorInfo const * enumerator(U64 number) const;
    EnumeratorInfo const * enumerator(std::string_view enumeratorName) const;

    /// Whether both records are of the same type. A program that is linked twice into a process has
    /// two records of each. Names decide then, with the namespace.
    bool isSameType(TypeData const & other) const;
};

/// Specialised for each type that has a record but does not hand it out itself:
/// `TypeDataOf<EvalResult>::get()`.
template <typename Type>
struct TypeDataOf;
