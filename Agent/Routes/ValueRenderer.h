#pragma once

#include "Agent/Routes/RouteAttributes.h"
#include "Platform/Render/RendererV2.h"

namespace Qcf::Agent {

/// Writes values of attributes as JSON in the texts that routes are read from. Keeps a buffer, so
/// that writing many allocates nothing; belongs to one thread.
///
///     ValueRenderer values(renderer);
///     renderer.key("as_path");
///     values.render(route.asPath);              // "65001 65002"
///     renderer.key("community");
///     values.render(viewOf(communities), SetForm::standardCommunities); // ["65000:1"]
///
/// The caller writes the keys around the values. The renderer must outlive it.
class ValueRenderer {
public:
    /// Keys, objects and what else stands around the values are the caller's, who writes them by
    /// the same renderer.
    explicit ValueRenderer(RendererV2 & renderer) : renderer_(renderer) {}

    /// Scalars: numbers as they are, everything with a text form as that text.
    void render(U64 value) { renderer_.value(value); }
    void render(F32 value) { renderer_.value(value); }
    /// true, false or "unknown".
    void render(Eval::TriStateBoolValue value);
    /// Addresses and prefixes in their usual text; "" for none.
    void render(IpGenAddr const & value);
    void render(IpGenPrefix const & value);
    /// A MAC address and the name of an interface as text.
    void render(EthAddr const & value) { renderer_.value(value.toString()); }
    void render(IntfId const & value) { renderer_.value(value.name()); }
    /// Null where there is no segment.
    void render(std::optional<Evpn::Esid> const & value);
    /// A community of any kind, which its text would not tell: an object with value and type.
    void render(Acl::CommunityValue const & value);
    /// A path as one text.
    void render(Routing::Bgp::AsnVector const & value);
    void render(Routing::Bgp::AsPath const & value) { render(value.asns()); }
    /// An object with the entries and the flag.
    void render(Routing::Rib::ResolutionRibProfileConfig const & value);

    /// Sets, by the form of their elements. Each is an array.
    /// Numbers have a text only as standard communities.
    void render(std::span<U64 const> values, SetForm form);
    void render(std::span<Acl::CommunityValue const> values, SetForm form);
    /// Any other value, for callers that write all of them alike.
    template <typename Value>
    void render(Value const & value, SetForm form) {
        if constexpr (requires { typename Value::allocator_type; } &&
                      !std::is_same_v<Value, Routing::Bgp::AsnVector>) {
            render(viewOf(value), form);
        } else {
            render(value);
        }
    }

private:
    RendererV2 & renderer_;
    /// The buffer: texts are made here before they are escaped.
    String text_;
};

} // namespace Qcf::Agent
