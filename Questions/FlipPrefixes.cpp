#include "Lists/PrefixListTrie.h"
#include "Questions/AddressBits.h"
#include "Questions/FlipCandidates.h"

/// Candidates for prefixes and addresses: bits turned, other lengths, and what constants and
/// entries of lists name.
namespace Qcf::Questions {

namespace {

using Lists::PrefixListEntry;

constexpr U64 otherFamily = 256;

U64 distance(IpGenPrefix const & a, IpGenPrefix const & b) {
    if (a.af() != b.af()) {
        return otherFamily + std::max(a.len(), b.len());
    }
    U8 const shorter = std::min(a.len(), b.len());
    return U64{std::max(a.len(), b.len())} - shorter +
           differingBits(IpGenPrefix(a.addr(), shorter).addr(),
                         IpGenPrefix(b.addr(), shorter).addr());
}

U64 distance(IpGenAddr const & a, IpGenAddr const & b) {
    return a.af() != b.af() ? otherFamily : differingBits(a, b);
}

/// Calls `visit(prefix, least, most)` for each entry of the lists.
template <typename Visit>
void eachEntry(std::vector<Lists::ListRecord const *> const & lists, Visit const & visit) {
    auto const each = [&](std::vector<PrefixListEntry> const & entries) {
        for (PrefixListEntry const & entry : entries) {
            visit(entry.prefix, entry.minLength, entry.maxLength);
        }
    };
    for (Lists::ListRecord const * const list : lists) {
        if (auto const * const plain = std::get_if<Lists::PrefixListRecord>(&list->content)) {
            each(plain->entries);
        } else if (auto const * const dynamic =
                       std::get_if<Lists::DynamicPrefixListRecord>(&list->content)) {
            each(dynamic->v4);
            each(dynamic->v6);
        } else if (auto const * const table = std::get_if<Lists::RoaTableRecord>(&list->content)) {
            for (Lists::Roa const & roa : table->roas) {
                visit(roa.prefix, roa.prefix.len(), roa.maxLength);
            }
        }
    }
}

class PrefixEdits {
public:
    PrefixEdits(Candidates<IpGenPrefix> & to, IpGenPrefix const & current)
        : to_(to), current_(current) {}

    void add(IpGenPrefix const & prefix) { to_.add(prefix, distance(prefix, current_)); }

    /// The nearest prefix of that length in `within`.
    void addIn(IpGenPrefix const & within, U64 length) {
        if (length <= addressWidth(within.af())) {
            IpGenAddr const & address =
                within.contains(current_.addr()) ? current_.addr() : within.addr();
            add(IpGenPrefix(address, static_cast<U8>(length)));
        }
    }

    void addEntry(IpGenPrefix const & prefix, U8 least, U8 most) {
        addIn(prefix, prefix.len());
        addIn(prefix, least);
        addIn(prefix, most);
    }

    void addBits() {
        for (U8 bit = 0; bit < current_.len(); ++bit) {
            add(IpGenPrefix(turned(current_.addr(), bit), current_.len()));
        }
    }

    // A length that the family does not have is looked for in the other one.
    void addLength(U64 length) {
        static IpGenPrefix const anyV4 = *IpGenPrefix::parse("0.0.0.0/0");
        static IpGenPrefix const anyV6 = *IpGenPrefix::parse("::/0");
        if (length <= addressWidth(current_.af())) {
            add(IpGenPrefix(current_.addr(), static_cast<U8>(length)));
        } else {
            addIn(length <= addressWidth(AddressFamily::ipv4) ? anyV4 : anyV6, length);
        }
    }

private:
    Candidates<IpGenPrefix> & to_;
    IpGenPrefix const & current_;
};

} // namespace

void addCandidates(Candidates<IpGenPrefix> & to, IpGenPrefix const & current, Asked const & asked) {
    PrefixEdits edits(to, current);
    edits.add(IpGenPrefix());
    for (U64 length = 0; length <= addressWidth(current.af()); ++length) {
        edits.addLength(length);
    }
    constexpr U64 longest = 128;
    for (U64 const length : turningPoints(asked.questions.lengths, 0, longest)) {
        edits.addLength(length);
    }
    edits.addBits();
    if (asked.questions.asksVersion) {
        edits.add(*IpGenPrefix::parse("192.0.2.0/24"));
        edits.add(*IpGenPrefix::parse("2001:db8::/32"));
    }
    for (IpGenPrefix const & prefix : asked.questions.constants.prefixes) {
        edits.addEntry(prefix, prefix.len(), static_cast<U8>(prefix.len() + 1));
    }
    eachEntry(asked.questions.constants.lists, [&](IpGenPrefix const & prefix, U8 least, U8 most) {
        edits.addEntry(prefix, least, most);
    });
}

void addCandidates(Candidates<IpGenAddr> & to, IpGenAddr const & current, Asked const & asked) {
    auto const add = [&](IpGenAddr const & address) {
        to.add(address, distance(address, current));
    };
    add(IpGenAddr());
    add(IpGenAddr::v4(0));
    add(IpGenAddr::v6({}));
    for (U8 bit = 0; bit < addressWidth(current.af()); ++bit) {
        add(turned(current, bit));
    }
    if (asked.questions.asksVersion) {
        add(*IpGenAddr::parse("192.0.2.1"));
        add(*IpGenAddr::parse("2001:db8::1"));
    }
    for (IpGenAddr const & address : asked.questions.constants.addresses) {
        add(address);
    }
    eachEntry(asked.questions.constants.lists, [&](IpGenPrefix const & prefix, U8, U8) {
        add(prefix.contains(current) ? current : prefix.addr());
    });
}

} // namespace Qcf::Questions
