#include "Mirror/WireFields.h"

#include "Documents/ScalarReader.h"
#include "Mirror/MirrorError.h"
#include "Mirror/WireText.h"

#include <cmath>

/// Fields as batches hold them. They differ from those of flat documents in three things: texts
/// that JSON cannot hold, floats that are no finite numbers, and references in the place of
/// children.
namespace Qcf::Mirror {

using Eval::AetNodeBase;
using Eval::FieldInfo;
using Routing::Policy::RouteMapFeatures;
using Routing::Rib::ResolutionRibProfileConfig;

void WireStyle::text(std::string_view text, RendererV2 & out) const {
    // Plain ones without a copy.
    isPlainText(text) ? out.value(text) : out.value(wireText(text));
}

void WireStyle::name(std::string_view name, RendererV2 & out) const {
    isPlainText(name) ? out.key(name) : out.key(wireText(name));
}

void WireStyle::number(F32 value, RendererV2 & out) const {
    std::isfinite(value) ? out.value(value) : out.value(wireBits(value));
}

void WireStyle::reference(AetNodeBase const & child, RendererV2 & out) const {
    NodeReference const reference =
        refer_ ? refer_(child) : NodeReference{.number = child.aetNodeKey()};
    out.beginObject();
    out.key(reference.loose ? "loose" : "ref");
    out.value(reference.number);
    if (reference.className != nullptr) {
        out.key("class");
        out.value(reference.className);
    }
    out.endObject();
}

void WireStyle::absent(FieldInfo const & field) const {
    if (!field.optional) {
        throw MirrorError(String(field.name) + " wants " + field.wants + ", found none");
    }
}

namespace {

/// The text that `wire`, read from `place`, stands for.
String textOf(JsonValue const & place, std::string_view wire) {
    auto text = parseWireText(wire);
    if (!text) {
        place.fail("text whose bytes are written as %XX");
    }
    return *std::move(text);
}

// Values as they come out of the JSON: the texts in them are yet to be taken for what they stand.

template <typename T>
void unescape(JsonValue const & /*place*/, T & /*value*/) {}

void unescape(JsonValue const & place, String & value) { value = textOf(place, value); }

void unescape(JsonValue const & place, IntfId & value) {
    value = IntfId(textOf(place, value.name()));
}

void unescape(JsonValue const & place, RouteMapFeatures & value) {
    RouteMapFeatures features;
    for (String const & feature : value.features()) {
        features.featureIs(textOf(place, feature));
    }
    value = std::move(features);
}

void unescape(JsonValue const & place, ResolutionRibProfileConfig & value) {
    for (std::size_t i = 0; i < value.entryCount(); ++i) {
        auto entry = value.entries()[i];
        entry.name = textOf(place, entry.name);
        value.entryIs(i, std::move(entry));
    }
}

void unescape(JsonValue const & place, FunctionMetadata & value) {
    FunctionMetadata::eachKind(value, [&](char const *, SlotMap & slots) {
        // Names are the keys of the map, which cannot be changed in place.
        SlotMap named;
        for (auto const & [name, slot] : slots) {
            named.emplace(textOf(place, name), slot);
        }
        slots = std::move(named);
    });
}

template <typename T>
void readMember(JsonValue const & member, String const & subject, T & value) {
    if constexpr (std::is_same_v<T, F32>) {
        // Any other text in a number's place fails below, with its place.
        if (auto const bits = member.isString() ? parseWireBits(member.asString()) : std::nullopt) {
            value = *bits;
            return;
        }
    }
    Documents::readScalar(member, subject, value);
    unescape(member, value);
}

String subjectOf(Eval::NodeClass const & nodeClass, FieldInfo const & field) {
    return String(nodeClass.name) + "." + field.name;
}

} // namespace

#define QCF_READ_MEMBER(Type)                                                                      \
    void WireFields::read(FieldInfo const & field, Type & value) {                                 \
        readMember(line_.require(field.name), subjectOf(class_, field), value);                    \
    }
QCF_FOR_EACH_SCALAR(QCF_READ_MEMBER)
#undef QCF_READ_MEMBER

PtrConst<AetNodeBase> WireFields::readNode(FieldInfo const & field) {
    // A writer leaves out children that are null, which only optional ones may be.
    auto const member = field.optional ? line_.optional(field.name) : line_.require(field.name);
    return member ? resolve_(*member, field) : nullptr;
}

String expectWireText(JsonValue const & value) { return textOf(value, value.expectString()); }

} // namespace Qcf::Mirror
