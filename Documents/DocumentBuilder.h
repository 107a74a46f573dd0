#pragma once

#include "Documents/NodeBuilder.h"
#include "Documents/Places.h"
#include "Platform/Render/JsonDocument.h"

namespace Qcf::Documents {

/// A value of a document as the place of a node.
class JsonPlace final : public Place {
public:
    /// `places` may be null, and must outlive this.
    JsonPlace(JsonValue json, Places * places) : json_(json), places_(places) {}

    String text() const override { return json_.pointer(); }
    void note(Eval::AetNodeBase const & node) const override {
        if (places_ != nullptr) {
            places_->note(node, json_);
        }
    }

private:
    void throwError(std::string_view subject, std::string_view wanted,
                    std::string_view found) const override {
        json_.fail(subject, wanted, found);
    }

    JsonValue json_;
    Places * places_;
};

/// Takes in nodes whose places are values of a document.
///
///     U64 const key = builder.keyFor(json, json.find(word::key));
///     U32 const number = builder.add(builder.at(json), node, children, false);
class DocumentBuilder : public NodeBuilder {
public:
    /// `places` may be null. Both must outlive this.
    DocumentBuilder(ListNames & names, Places * places) : NodeBuilder(names), places_(places) {}

    JsonPlace at(JsonValue const & json) const { return {json, places_}; }

    /// The key of the next node: the given one, if it is free, else one above all so far. To be
    /// asked once the node's children are taken in.
    U64 keyFor(JsonValue const & json, std::optional<JsonValue> const & given) const {
        return given ? freeKey(at(*given), given->expectU64(1)) : nextKey(at(json));
    }

private:
    Places * places_;
};

} // namespace Qcf::Documents
