#include "Live/TableForm.h"

#include "Live/AttributeBytes.h"

namespace Qcf::Live {

namespace {

/// Whether these are whole prefixes and nothing else.
bool arePrefixes(ByteCursor from, AddressFamily family, bool hasIds) {
    try {
        Agent::countPrefixes(from, family, hasIds);
        return true;
    } catch (Damage const &) {
        return false;
    }
}

/// Whether a path may have AS numbers of `width` bytes: all of its segments are whole.
bool isPath(std::span<U8 const> path, std::size_t width) {
    while (!path.empty()) {
        constexpr std::size_t headSize = 2;
        if (path.size() < headSize || path[0] < 1 || path[0] > 4 ||
            path.size() < headSize + width * path[1]) {
            return false;
        }
        path = path.subspan(headSize + width * path[1]);
    }
    return true;
}

/// The prefixes and the path of an UPDATE as they stand there.
struct Found {
    /// By family: what is withdrawn, and what is announced.
    std::array<std::array<ByteCursor, 2>, 2> places;
    std::span<U8 const> path;

    explicit Found(ByteCursor update) {
        auto const parts = Agent::BgpUpdate::split(update);
        places[0] = {parts.withdrawn, parts.announced};
        eachAttribute(parts.attributes.rest(), [&](U8 code, std::span<U8 const> value) {
            if (code == Agent::Mrt::asPath) {
                path = value;
            } else if (code == Agent::Mrt::mpReach) {
                reach(ByteCursor(value, "MP_REACH_NLRI attribute"));
            } else if (code == Agent::Mrt::mpUnreach) {
                unreach(ByteCursor(value, "MP_UNREACH_NLRI attribute"));
            }
        });
    }

private:
    static Agent::FamilyCode family(ByteCursor & value) {
        U16 const afi = value.u16();
        return {afi, value.u8()};
    }
    void reach(ByteCursor value) {
        auto const code = family(value);
        value.skip(value.u8()); // next hop
        value.skip(1);          // reserved
        note(code, value, 1);
    }
    void unreach(ByteCursor value) {
        auto const code = family(value);
        note(code, value, 0);
    }
    // Prefixes of IPv4 may stand in the attributes, too; those in the old fields are votes enough.
    void note(Agent::FamilyCode code, ByteCursor prefixes, std::size_t place) {
        AddressFamily const of = code.routeFamily();
        if (of != AddressFamily::none) {
            auto & at = places[of == AddressFamily::ipv6 ? 1 : 0][place];
            at = at.atEnd() ? prefixes : at;
        }
    }
};

} // namespace

TableForm::TableForm(Agent::UpdateForm declared, bool trusted)
    : declaredIds_{declared.ids4, declared.ids6},
      ids_(declaredIds_),
      idsKnown_(trusted),
      widthKnown_{trusted, trusted} {}

TableForm::Needs TableForm::vote(ByteCursor update, bool as2) {
    if (idsKnown_ && widthKnown_[as2]) {
        return {.as2 = as2};
    }
    Found const found(update);
    Needs needs{.width = !found.path.empty(), .as2 = as2};
    for (std::size_t family = 0; family < found.places.size(); ++family) {
        auto const & places = found.places[family];
        if (!places[0].atEnd() || !places[1].atEnd()) {
            needs.ids = true;
            voteIds(family, places);
        }
    }
    bool const as4 = isPath(found.path, 4);
    if (needs.width && !widthKnown_[as2] && as4 != isPath(found.path, 2)) {
        Tally & votes = widthVotes_[as2];
        ++(as4 ? votes.yes : votes.no);
        widthKnown_[as2] = votes.all() >= enough;
        as4_[as2] = votes.majority(!as2);
    }
    return needs;
}

void TableForm::voteIds(std::size_t family, std::span<ByteCursor const> places) {
    if (idsKnown_) {
        return;
    }
    AddressFamily const of = family == 0 ? AddressFamily::ipv4 : AddressFamily::ipv6;
    auto const readable = [&](bool hasIds) {
        return arePrefixes(places[0], of, hasIds) && arePrefixes(places[1], of, hasIds);
    };
    bool const with = readable(true);
    if (with != readable(false)) {
        ++(with ? idVotes_[family].yes : idVotes_[family].no);
    }
    if (idVotes_[0].all() + idVotes_[1].all() >= enough) {
        decideIds();
    }
}

/// A family without votes goes with the other one: a router that does not keep to what it
/// negotiated does so for both.
void TableForm::decideIds() {
    idsKnown_ = true;
    for (std::size_t family = 0; family < ids_.size(); ++family) {
        ids_[family] = idVotes_[family].majority(declaredIds_[family]);
    }
    for (std::size_t family = 0; family < ids_.size(); ++family) {
        std::size_t const other = 1 - family;
        if (idVotes_[family].all() == 0 && declaredIds_[family] == declaredIds_[other]) {
            ids_[family] = ids_[other];
        }
    }
}

bool TableForm::isDecided(Needs const & needs) const {
    return (!needs.ids || idsKnown_) && (!needs.width || widthKnown_[needs.as2]);
}

void TableForm::close() {
    if (!idsKnown_) {
        decideIds();
    }
    widthKnown_ = {true, true};
}

Agent::UpdateForm TableForm::form(bool as2) const {
    return {.as4 = as4_[as2], .ids4 = ids_[0], .ids6 = ids_[1]};
}

bool TableForm::lacksIds() const {
    return idsKnown_ && ((declaredIds_[0] && !ids_[0]) || (declaredIds_[1] && !ids_[1]));
}

} // namespace Qcf::Live
