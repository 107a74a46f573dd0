#include "Platform/Render/JsonObjectReader.h"

#include "Platform/Render/NearestWord.h"
#include "Platform/Render/Utf8.h"

#include <algorithm>

/// Whoever reads an object asks for each key that it knows; what nobody asked for is then a fault.
JsonObjectReader::JsonObjectReader(JsonValue const & value, std::string_view subject)
    : object_(value), subject_(subject) {
    if (!value.isObject()) {
        value.fail(subject_, "object", describe(value));
    }
}

std::optional<JsonValue> JsonObjectReader::optional(std::string_view key) {
    std::optional<JsonValue> const member = object_.find(key);
    // Each key counts once, however often it is asked for: `done` compares the counts.
    if (std::find(asked_.begin(), asked_.end(), key) == asked_.end()) {
        asked_.push_back(key);
        found_ += member ? 1 : 0;
    }
    return member;
}

JsonValue JsonObjectReader::require(std::string_view key) {
    std::optional<JsonValue> const member = optional(key);
    if (!member) {
        object_.fail(subject_, "key \"" + oneLine(key, 60) + '"', "none");
    }
    return *member;
}

void JsonObjectReader::done() const {
    // Keys of an object differ, so that equal numbers mean equal keys: the usual end costs no
    // search.
    if (found_ == object_.size()) {
        return;
    }
    String known;
    for (std::string_view const key : asked_) {
        known += known.empty() ? "" : ", ";
        known += key;
    }
    for (JsonValue const member : object_) {
        if (std::find(asked_.begin(), asked_.end(), member.key()) == asked_.end()) {
            member.fail(subject_, asked_.empty() ? "no keys" : "only keys " + known,
                        "unknown key \"" + oneLine(member.key(), 60) + '"' +
                            didYouMean(member.key(), asked_));
        }
    }
}
