#include "QcfLib/QcfEval.h"
#include "Text/BodyParser.h"

/// Values that are made of others.
namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// The bits of an extended community that hold a bandwidth, and the community's type without it.
constexpr U64 bandwidthBits32 = 0xFFFFFFFF;
constexpr U64 linkBandwidthType = 0x4004;

} // namespace

Draft * BodyParser::merge() {
    Token const first = cursor_.take();
    cursor_.expect("(");
    Cursor::Level const level(cursor_);
    Draft * const fixed = value({});
    wantKind(*fixed, NodeKind::communityValue, "CommunityValue");
    cursor_.expect(",");
    Draft * const moving = value({});
    wantKind(*moving, NodeKind::communityValue, "CommunityValue");
    cursor_.expect(",");
    auto const mask = cursor_.isWord() ? parseLiteral(cursor_.text()) : std::nullopt;
    if (!mask || !std::holds_alternative<Acl::CommunityValue>(*mask)) {
        cursor_.failWanted("a mask such as 0x00000000ffffffff");
    }
    cursor_.take();
    cursor_.expect(")");
    return tree_.add<CommunityValueDynamic>(cursor_.since(first), {fixed, moving, *mask});
}

Draft * BodyParser::bandwidthBits() {
    Token const first = cursor_.take();
    cursor_.expect("(");
    Cursor::Level const level(cursor_);
    Draft * const bandwidth = value({});
    wantKind(*bandwidth, NodeKind::bandwidth, "Bandwidth");
    cursor_.expect(",");
    U64 const offset = number("an offset", 0xFF);
    cursor_.expect(")");
    return tree_.add<BandwidthToCommunityValue>(cursor_.since(first), {bandwidth, offset});
}

Draft * BodyParser::linkBandwidth() {
    Token const first = cursor_.take();
    cursor_.expect("(");
    Cursor::Level const level(cursor_);
    Draft * const set = value({.communities = true});
    wantKind(*set, NodeKind::communitySet, "CommunitySet");
    cursor_.expect(")");
    return tree_.add<ExtCommSetToLinkBandwidthExtCommValue>(cursor_.since(first), {set});
}

// The link bandwidth of an AS: its community with the bandwidth's bits merged in. Written back as
// such by its shape.
Draft * BodyParser::lbw() {
    Token const first = cursor_.take();
    cursor_.expect("(");
    Cursor::Level const level(cursor_);
    U64 const as = number("an AS number", 0xFFFF);
    cursor_.expect(",");
    Draft * const bandwidth = value({});
    wantKind(*bandwidth, NodeKind::bandwidth, "Bandwidth");
    cursor_.expect(")");
    Span const span = cursor_.since(first);
    Acl::CommunityValue const community((linkBandwidthType << 48) | (as << 32), 0);
    Draft * const bits = tree_.add<BandwidthToCommunityValue>(span, {bandwidth, U64{64}});
    return tree_.add<CommunityValueDynamic>(
        span, {literalAt(community, span), bits, Literal(Acl::CommunityValue(bandwidthBits32, 0))});
}

Draft * BodyParser::interface() {
    Token const first = cursor_.take();
    if (!cursor_.isString()) {
        cursor_.failWanted("the interface's name in quotes");
    }
    String const text = unquoted(cursor_.text(cursor_.take()));
    return tree_.add<InterfaceImmediate>(cursor_.since(first), {text});
}

// `ribs [ system-connected:2, use_default ]`
Draft * BodyParser::ribs() {
    Token const first = cursor_.take();
    cursor_.expect("[", "behind 'ribs'");
    Routing::Rib::ResolutionRibProfileConfig profile(false);
    std::size_t count = 0;
    while (!cursor_.accept("]")) {
        if (cursor_.accept("use_default")) {
            profile.useDefaultIs(true);
        } else {
            if (count == Routing::Rib::ResolutionRibProfileConfig::maxEntries) {
                cursor_.fail(cursor_.here(), "ribs", "a profile has at most three RIBs");
            }
            profile.entryIs(count++, rib());
        }
        if (!cursor_.accept(",") && !cursor_.is("]")) {
            cursor_.failWanted("',' or ']'");
        }
    }
    auto content = std::make_shared<DraftValue>();
    content->value = profile;
    return tree_.add<ResolutionRibsImmediate>(cursor_.since(first),
                                              {std::shared_ptr<DraftValue const>(content)});
}

// A word goes over its colon: `system-connected:2` is one. A name in quotes has the colon behind
// it.
Routing::Rib::ResolutionRibEntry BodyParser::rib() {
    Routing::Rib::ResolutionRibEntry entry;
    U64 kind = 0;
    if (cursor_.isString()) {
        entry.name = unquoted(cursor_.text(cursor_.take()));
        cursor_.expect(":");
        kind = number("the kind of a RIB", 0xFF);
    } else {
        std::string_view const text = cursor_.text();
        std::size_t const colon = text.rfind(':');
        auto const literal =
            colon == std::string_view::npos ? std::nullopt : parseLiteral(text.substr(colon + 1));
        auto const * const integer = literal ? std::get_if<Integer>(&*literal) : nullptr;
        if (!cursor_.isWord() || integer == nullptr || integer->negative ||
            integer->magnitude > 0xFF) {
            cursor_.failWanted("a RIB as NAME:KIND, or 'use_default'");
        }
        entry.name = String(text.substr(0, colon));
        kind = integer->magnitude;
        cursor_.take();
    }
    entry.kind = static_cast<decltype(entry.kind)>(kind);
    return entry;
}

} // namespace Qcf::Text
