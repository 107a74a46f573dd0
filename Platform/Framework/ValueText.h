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
/// enumerator.
String recordText(TypeData const & type, void const * value);
String enumeratorText(TypeData const & type, U64 number);

/// How a field that points to an entity shows it: by the name of its class. Overloads for entities
/// that have a name or a key of their own are found beside their class.
String referenceText(Entity const & entity);

namespace valueText {

template <typename T>
concept PointerLike = requires(T const & p) {
    static_cast<bool>(p);
    *p;
}
&&!std::is_arithmetic_v<T>;

template <typename T>
concept Streamable = requires(std::ostream & out, T const & value) {
    out << value;
};

template <typename T>
concept Reflected = requires {
    TypeDataOf<T>::get();
};

template <typename T>
String of(T const & value);

template <typename T>
String streamed(T const & value) {
    std::ostringstream out;
    out << value;
    return out.str();
}

template <typename Collection>
String elements(Collection const & collection) {
    String text = "[";
    for (auto const & element : collection) {
        text += text.size() == 1 ? "" : ", ";
        text += of(element);
    }
    return text + "]";
}

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
        return streamed(value);
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

/// The `text` of a field: what `getter`, a member or a function of the object, yields.
template <typename Owner, auto getter>
String fieldText(void const * object) {
    return valueText::of(std::invoke(getter, *static_cast<Owner const *>(object)));
}

/// A field that is no child of a node.
template <typename Owner, auto getter>
constexpr FieldInfo fieldOf(char const * name, char const * type) {
    return {.name = name, .type = type, .wants = type, .text = &fieldText<Owner, getter>};
}
