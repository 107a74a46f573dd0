#include "Platform/Framework/ValueText.h"

String recordText(TypeData const & type, void const * value) {
    String text = String(type.name) + "{";
    for (char const * separator = ""; FieldInfo const & field : type.fields) {
        text += separator + String(field.name) + ": " + field.text(value);
        separator = ", ";
    }
    return text + "}";
}

String enumeratorText(TypeData const & type, U64 number) {
    EnumeratorInfo const * const enumerator = type.enumerator(number);
    // A number without a name may come from outside; it is shown as it is.
    return enumerator != nullptr ? enumerator->name : std::to_string(number);
}

// The fallback: an entity without a key has nothing but its class.
String referenceText(Entity const & entity) { return entity.typeData().name; }
