#include "Text/DraftFields.h"

#include "Documents/ScalarReader.h"
#include "Platform/Render/DocumentError.h"

#include <concepts>
#include <limits>

/// What a draft holds fits the field's type, since the construct was made for it; but for raw
/// nodes, whose fields hold whatever somebody wrote.
namespace Qcf::Text {

using Eval::FieldInfo;

namespace {

template <typename T, typename Variant>
inline constexpr bool isOneOf = false;
template <typename T, typename... Types>
inline constexpr bool isOneOf<T, std::variant<Types...>> = (std::same_as<T, Types> || ...);

// Each answers false where the content is of another type.

template <typename T>
bool convert(DraftField const & content, T & value) {
    if constexpr (isOneOf<T, Literal>) {
        auto const * const literal = std::get_if<Literal>(&content);
        auto const * const held = literal == nullptr ? nullptr : std::get_if<T>(literal);
        value = held == nullptr ? value : *held;
        return held != nullptr;
    } else {
        auto const * const special = std::get_if<std::shared_ptr<DraftValue const>>(&content);
        auto const * const held = special == nullptr ? nullptr : std::get_if<T>(&(*special)->value);
        value = held == nullptr ? value : *held;
        return held != nullptr;
    }
}

template <std::unsigned_integral T>
bool convert(DraftField const & content, T & value) {
    auto const * const number = std::get_if<U64>(&content);
    if (number == nullptr || *number > std::numeric_limits<T>::max()) {
        return false;
    }
    value = static_cast<T>(*number);
    return true;
}

bool convert(DraftField const & content, bool & value) {
    Eval::TriStateBoolValue truth{};
    if (auto const * const held = std::get_if<bool>(&content)) {
        value = *held;
        return true;
    }
    bool const isKnown = convert(content, truth) && truth != Eval::TriStateBoolValue::unknown;
    value = truth == Eval::TriStateBoolValue::true_;
    return isKnown;
}

bool convert(DraftField const & content, String & value) {
    auto const * const text = std::get_if<String>(&content);
    value = text == nullptr ? value : *text;
    return text != nullptr;
}

bool convert(DraftField const & content, IntfId & value) {
    auto const * const text = std::get_if<String>(&content);
    auto const parsed = text == nullptr ? std::nullopt : IntfId::parse(*text);
    value = parsed ? *parsed : value;
    return parsed.has_value();
}

// A bandwidth without a fraction may stand as an integer in a raw node.
bool convert(DraftField const & content, F32 & value) {
    if (auto const * const number = std::get_if<U64>(&content)) {
        value = static_cast<F32>(*number);
        return true;
    }
    auto const * const literal = std::get_if<Literal>(&content);
    auto const * const held = literal == nullptr ? nullptr : std::get_if<F32>(literal);
    value = held == nullptr ? value : *held;
    return held != nullptr;
}

} // namespace

template <typename T>
bool DraftFields::take(DraftField const & content, T & value) const {
    return convert(content, value);
}

// JSON is judged by who reads documents.
template <typename T>
void DraftFields::readField(FieldInfo const & field, T & value) {
    std::size_t const position = static_cast<std::size_t>(&field - draft_.nodeClass->fields.data());
    DraftField const & content = draft_.fields[position];
    if (std::holds_alternative<std::monostate>(content)) {
        if (!derived_.fill(field, value)) {
            fail(field, "none");
        }
        return;
    }
    auto const * const special = std::get_if<std::shared_ptr<DraftValue const>>(&content);
    if (special != nullptr && !(*special)->json.empty()) {
        try {
            auto const document = JsonDocument::parse((*special)->json, field.name);
            Documents::readScalar(document.root(), field.name, value);
        } catch (DocumentError const & error) {
            fail(field, error.what());
        }
        return;
    }
    if constexpr (std::same_as<T, Eval::AccessibleAttributes>) {
        derived_.fill(field, value);
        auto const * const given =
            special == nullptr ? nullptr
                               : std::get_if<Eval::AccessibleAttributes>(&(*special)->value);
        if (given != nullptr) {
            value.readableAttributes =
                (*special)->hasReads ? given->readableAttributes : value.readableAttributes;
            value.writableAttributes =
                (*special)->hasWrites ? given->writableAttributes : value.writableAttributes;
            return;
        }
    }
    if (!take(content, value)) {
        auto const * const number = std::get_if<U64>(&content);
        fail(field, number == nullptr ? "another value" : "number " + std::to_string(*number));
    }
}

PtrConst<Eval::AetNodeBase> DraftFields::readNode(FieldInfo const & /*field*/) {
    U32 const number = children_[nextChild_++];
    return number == Documents::NodeBuilder::none ? nullptr : builder_.node(number);
}

void DraftFields::fail(FieldInfo const & field, String const & found) const {
    place_.fail(String(draft_.nodeClass->name) + '.' + field.name, field.wants, found);
}

} // namespace Qcf::Text
