#pragma once

#include "Platform/Framework/Entity.h"

#include <concepts>
#include <functional>
#include <optional>
#include <sstream>
#include <type_traits>

/// Values as text, for the records of reflection. Costly to include: for sources that write such
/// records.
///
/// A value's own text form comes first (`toStrep`, `toString`, stream output); else enumerations
/// show their enumerator, collections their elements, records their fields, and pointers what they
/// point to: "null", or for an entity a reference such as "IntIs#12".

/// Text of a value of a type that has a record: `EvalResult{retVal: true, ...}`, or the name of an
/// enumerator. `value` must point to an object of just that type. Only the fields of the type
/// itself are shown, in the order of the record; those of its base are not.
String recordText(TypeData const & type, void const * value);
/// The enumerator of that number by name; the number where there is none.
String enumeratorText(TypeData const & type, U64 number);

/// How a field that points to an entity shows it: by the name of its class. Overloads for entities
/// that have a name or a key of their own are found beside their class. It is found by the type of
/// the argument where a pointer is shown.
String referenceText(Entity const & entity);

/// How the text of a value comes about. `valueText::of(value)` is what sources call; what stands
/// before it are the forms that it chooses from.
///
///     valueText::of(std::vector<U64>{1, 2}); // "[1, 2]"
///
/// A type gets a text by having one of those forms; nothing is registered. Values of a type that
/// has none show as "...", so that a record with a field of a host's own can still be shown. Making
/// text allocates; it is meant for messages, logs and debuggers.
namespace valueText {

/// What can be tested and followed. Numbers are excluded: they can be tested, but their operators
/// mean something else.
template <typename T>
concept PointerLike = requires(T const & p) {
    static_cast<bool>(p);
    *p;
}
&&!std::is_arithmetic_v<T>;

/// What has an output operator. It is asked for after the texts that a type has of its own.
template <typename T>
concept Streamable = requires(std::ostream & out, T const & value) {
    out << value;
};

/// What has a record of its type. Asked last: a type with a text of its own is shown by that and
/// not by its fields.
template <typename T>
concept Reflected = requires {
    TypeDataOf<T>::get();
};

template <typename T>
String of(T const & value);

/// What the output operator writes. As a fresh stream writes it: decimal, without widths.
template <typename T>
String streamedText(T const & value) {
    std::ostringstream out;
    out << value;
    return out.str();
}

/// "[a, b]": the elements in order. For unordered collections the order of the collection at the
/// moment.
template <typename Collection>
String elements(Collection const & collection) {
    String text = "[";
    for (auto const & element : collection) {
        text += text.size() == 1 ? "" : ", ";
        text += of(element);
    }
    return text + "]";
}

/// What a pointer points to: "null", the reference to an entity, or the text of the object.
/// Entities are told of and not shown, because they may refer to each other in circles.
template <typename Pointer>
String pointee(Pointer const & pointer) {
    using Pointee = std::remove_cvref_t<decltype(*pointer)>;
    if (!static_cast<bool>(pointer)) {
        return "null";
    }
    if constexpr (std::derived_from<Pointee, Entity>) {
        return referenceText(*pointer);
    } else {
        return of(*pointer);
    }
}

/// Tries the forms from the most to the least special; the first that the type has counts. The
/// order matters: a boolean is an integer as well, a text is a collection of characters, and a
/// pointer has an output operator, which would show an address.
template <typename T>
String of(T const & value) {
    if constexpr (std::same_as<T, bool>) {
        return value ? "true" : "false";
    } else if constexpr (std::is_enum_v<T> && Reflected<T>) {
        return enumeratorText(TypeDataOf<T>::get(), static_cast<U64>(value));
    } else if constexpr (std::is_enum_v<T> || std::integral<T>) {
        return std::to_string(
            static_cast<std::conditional_t<std::is_signed_v<T>, S64, U64>>(value));
    } else if constexpr (std::convertible_to<T const &, std::string_view>) {
        return String(std::string_view(value));
    } else if constexpr (requires { value.toStrep(); }) {
        return value.toStrep();
    } else if constexpr (requires { value.toString(); }) {
        return value.toString();
    } else if constexpr (PointerLike<T>) {
        return pointee(value);
    } else if constexpr (Streamable<T>) {
        return streamedText(value);
    } else if constexpr (requires { value.first, value.second; }) {
        return of(value.first) + ": " + of(value.second);
    } else if constexpr (requires { value.begin() != value.end(); }) {
        return elements(value);
    } else if constexpr (Reflected<T>) {
        return recordText(TypeDataOf<T>::get(), &value);
    } else {
        return "..."; // opaque to the engine: a host's own record
    }
}

} // namespace valueText

/// The `text` of a field: what `getter`, a member or a function of the object, yields. Instances of
/// it stand in records, by which a field is read without knowing its type. `object` must be an
/// `Owner`; nothing checks it.
template <typename Owner, auto getter>
String fieldText(void const * object) {
    return valueText::of(std::invoke(getter, *static_cast<Owner const *>(object)));
}

/// A field that is no child of a node, for the records that are written by hand:
/// `fieldOf<EvalResult, &EvalResult::retVal>("retVal", "TriStateBoolValue")`. The texts must be
/// literals, as those of all records.
template <typename Owner, auto getter>
constexpr FieldInfo fieldOf(char const * name, char const * type) {
    return {.name = name, .type = type, .wants = type, .text = &fieldText<Owner, getter>};
}
