#include "Agent/Routes/ValueRenderer.h"
#include "Watch/ExplanationText.h"

namespace Qcf::Watch {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

void renderTexts(RendererV2 & renderer, char const * key, std::vector<String> const & texts) {
    renderer.key(key);
    renderer.beginArray();
    for (String const & text : texts) {
        renderer.value(text);
    }
    renderer.endArray();
}

class TreeRenderer {
public:
    TreeRenderer(NodePlaces const & places, RendererV2 & renderer)
        : places_(places), renderer_(renderer) {}

    void nodes(std::vector<TraceNode *> const & nodes) {
        renderer_.beginArray();
        for (TraceNode const * const node : nodes) {
            one(*node);
        }
        renderer_.endArray();
    }

private:
    void one(TraceNode const & at) {
        renderer_.beginObject();
        member("key", at.node->aetNodeKey());
        place(at);
        member("result", toString(at.result.retVal()));
        member("termination", toString(at.result.termination()));
        if (at.thrown) {
            member("thrown", true);
        }
        operands(at);
        change(at.change);
        if (!at.listSays.empty()) {
            member("list", at.listSays);
        }
        renderTexts(renderer_, "unknownBecause", at.unknownBecause);
        if (!at.absorbed.empty()) {
            renderTexts(renderer_, "absorbed", at.absorbed);
        }
        renderer_.key("children");
        nodes(at.children);
        renderer_.endObject();
    }

    // As [file, line, column], or [file, pointer] in a document.
    void place(TraceNode const & at) {
        renderer_.key("at");
        renderer_.beginArray();
        NodePlace const place =
            at.within == nullptr ? NodePlace() : places_.of(*at.node, *at.within);
        if (!place.file.empty()) {
            renderer_.value(place.file);
            if (place.isInText()) {
                renderer_.value(U64{place.line});
                renderer_.value(U64{place.column});
            } else {
                renderer_.value(place.pointer);
            }
        }
        renderer_.endArray();
        member("text", at.within == nullptr ? String() : places_.line(*at.node, *at.within));
    }

    void operands(TraceNode const & at) {
        renderer_.key("operands");
        renderer_.beginArray();
        for (Operand const & operand : at.operands) {
            renderer_.beginObject();
            member("text", textOf(operand, at));
            member("type", operand.type);
            member("value", operand.value);
            member("given", operand.given);
            renderer_.endObject();
        }
        renderer_.endArray();
    }

    // Attributes and constants are the same everywhere.
    String textOf(Operand const & operand, TraceNode const & at) const {
        auto const * const attribute = operand.node->typeData().attribute;
        return attribute != nullptr                       ? attribute->languageName
               : operand.constant || at.within == nullptr ? operand.value
                                                          : places_.line(*operand.node, *at.within);
    }

    // Members of every node, so that a reader need not ask what kind it is.
    void change(std::optional<Change> const & change) {
        renderer_.key("before");
        change ? renderer_.value(change->before) : renderer_.nullValue();
        renderer_.key("after");
        change ? renderer_.value(change->after) : renderer_.nullValue();
        member("clamped", change && change->clamped);
    }

    template <typename Value>
    void member(char const * key, Value const & value) {
        renderer_.key(key);
        renderer_.value(value);
    }

    NodePlaces const & places_;
    RendererV2 & renderer_;
};

void renderChanges(Agent::Evaluated const & evaluated, RendererV2 & renderer) {
    Agent::ValueRenderer values(renderer);
    renderer.key("changes");
    renderer.beginObject();
    evaluated.context.changes().eachChange([&](auto, char const * name, auto const & value) {
        renderer.key(name);
        values.render(value, Agent::setFormOf(name));
    });
    renderer.endObject();
}

/// What was written and not handed on, statement by statement.
void renderDropped(TraceNode const & at, RendererV2 & renderer) {
    if (at.change && !at.thrown) {
        auto const * const attribute = at.change->attribute();
        renderer.beginObject();
        renderer.key("attribute");
        renderer.value(attribute == nullptr ? "" : attribute->languageName);
        renderer.key("before");
        renderer.value(at.change->before);
        renderer.key("after");
        renderer.value(at.change->after);
        renderer.endObject();
    }
    for (TraceNode const * const child : at.children) {
        renderDropped(*child, renderer);
    }
}

} // namespace

void renderDecidedBy(NodePlace const * place, String const & reason, RendererV2 & renderer) {
    if (place == nullptr) {
        renderer.nullValue();
        return;
    }
    renderer.beginObject();
    renderer.key("file");
    renderer.value(place->file);
    if (place->isInText()) {
        renderer.key("line");
        renderer.value(U64{place->line});
        renderer.key("column");
        renderer.value(U64{place->column});
    } else {
        renderer.key("pointer");
        renderer.value(place->pointer);
    }
    renderer.key("reason");
    reason.empty() ? renderer.nullValue() : renderer.value(reason);
    renderer.endObject();
}

void renderExplanation(ExplainedRoute const & route, RendererV2 & renderer,
                       std::function<void()> const & more) {
    Agent::Evaluated const & evaluated = route.evaluated;
    TraceNode const * const root = route.watched.root();
    renderer.beginObject();
    renderer.key("route");
    renderer.value(evaluated.number);
    renderer.key("prefix");
    renderer.value(evaluated.route.ipPrefix.toString());
    if (IpGenAddr const & peer = evaluated.route.sourceSessionRemoteIpAddress; !peer.isAddrZero()) {
        renderer.key("peer");
        renderer.value(peer.toString());
    }
    renderer.key("verdict");
    renderer.value(toString(evaluated.result.retVal()));
    renderer.key("termination");
    renderer.value(toString(evaluated.result.termination()));
    renderer.key("decidedBy");
    Decision const decision = route.watched.decision(route.places);
    NodePlace const place = decision.statement == nullptr
                                ? NodePlace()
                                : route.places.of(*decision.statement, *decision.within);
    renderDecidedBy(decision.statement == nullptr ? nullptr : &place, decision.reason, renderer);
    renderer.key("tree");
    TreeRenderer(route.places, renderer)
        .nodes(root == nullptr ? std::vector<TraceNode *>() : root->children);
    renderChanges(evaluated, renderer);
    if (evaluated.context.nextHopSetToSelf()) {
        renderer.key("nextHopSetToSelf");
        renderer.value(true);
    }
    renderer.key("dropped");
    renderer.beginArray();
    if (root != nullptr && !evaluated.result.isTrue()) {
        renderDropped(*root, renderer);
    }
    renderer.endArray();
    if (more) {
        more();
    }
    renderer.endObject();
}

} // namespace Qcf::Watch
