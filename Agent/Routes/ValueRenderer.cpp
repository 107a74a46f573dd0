#include "Agent/Routes/ValueRenderer.h"

#include "Platform/Routing/CommunityText.h"

/// The forms of values in JSON, each of them one that RouteJson.cpp reads. What is added there is
/// to be added here, or a written route does not read back.
namespace Qcf::Agent {

void ValueRenderer::render(Eval::TriStateBoolValue value) {
    // JSON has no third truth value.
    if (value == Eval::QcfUnknown()) {
        renderer_.value("unknown");
    } else {
        renderer_.value(value == Eval::QcfTrue());
    }
}

void ValueRenderer::render(IpGenAddr const & value) {
    text_.clear();
    value.appendText(text_);
    renderer_.value(text_);
}

void ValueRenderer::render(IpGenPrefix const & value) {
    text_.clear();
    value.appendText(text_);
    renderer_.value(text_);
}

void ValueRenderer::render(std::optional<Evpn::Esid> const & value) {
    if (value) {
        renderer_.value(value->toString());
    } else {
        // Not "": an absent segment has no text.
        renderer_.nullValue();
    }
}

/// As an object, since it may be of any kind.
void ValueRenderer::render(Acl::CommunityValue const & value) {
    renderer_.beginObject();
    renderer_.key("value");
    renderer_.value(value.value());
    renderer_.key("type");
    renderer_.value(value.type());
    renderer_.endObject();
}

void ValueRenderer::render(Routing::Bgp::AsnVector const & value) {
    text_.clear();
    Routing::Bgp::appendAsPathText(text_, value);
    renderer_.value(text_);
}

void ValueRenderer::render(Routing::Rib::ResolutionRibProfileConfig const & value) {
    renderer_.beginObject();
    renderer_.key("entries");
    renderer_.beginArray();
    for (std::size_t i = 0; i < value.entryCount(); ++i) {
        renderer_.beginObject();
        renderer_.key("name");
        renderer_.value(value.entries()[i].name);
        renderer_.key("kind");
        renderer_.value(value.entries()[i].kind);
        renderer_.endObject();
    }
    renderer_.endArray();
    renderer_.key("useDefault");
    renderer_.value(value.useDefault());
    renderer_.endObject();
}

void ValueRenderer::render(std::span<U64 const> values, SetForm form) {
    renderer_.beginArray();
    for (U64 const value : values) {
        // Other sets of numbers have no text form.
        if (form == SetForm::standardCommunities) {
            text_.clear();
            appendStandardCommunityText(text_, value);
            renderer_.value(text_);
        } else {
            renderer_.value(value);
        }
    }
    renderer_.endArray();
}

void ValueRenderer::render(std::span<Acl::CommunityValue const> values, SetForm form) {
    renderer_.beginArray();
    for (Acl::CommunityValue const & value : values) {
        text_.clear();
        // Both kinds have one type of value: the attribute says which it is.
        if (form == SetForm::largeCommunities) {
            appendLargeCommunityText(text_, value);
        } else {
            appendExtCommunityText(text_, value);
        }
        renderer_.value(text_);
    }
    renderer_.endArray();
}

} // namespace Qcf::Agent
