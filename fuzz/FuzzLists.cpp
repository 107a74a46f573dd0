#include "Lists/ListsDocument.h"
#include "Lists/RoaExport.h"
#include "fuzz/Require.h"

namespace {

using namespace Qcf::Lists; // NOLINT(google-build-using-namespace): what is under test

/// Candidates at the ends of both families and where the seeds have entries.
std::vector<IpGenPrefix> const & candidates() {
    static std::vector<IpGenPrefix> const prefixes = [] {
        std::vector<IpGenPrefix> parsed;
        for (char const * const text :
             {"0.0.0.0/0", "10.0.0.0/8", "192.0.2.0/24", "198.51.100.128/25", "255.255.255.255/32",
              "::/0", "2001:db8::/32", "2001:db8:1::/48",
              "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/128"}) {
            parsed.push_back(*IpGenPrefix::parse(text));
        }
        return parsed;
    }();
    return prefixes;
}

void ask(PrefixListTrie const & list) {
    for (IpGenPrefix const & candidate : candidates()) {
        requireThat(list.match(candidate).has_value() != list.empty(), "only empty lists are mute");
    }
}

/// Origin validation as RFC 6811 has it, payload by payload.
OriginValidity judged(std::vector<Roa> const & roas, IpGenPrefix const & prefix, U32 origin) {
    OriginValidity validity = OriginValidity::notFound;
    for (Roa const & roa : roas) {
        if (roa.prefix.contains(prefix)) {
            if (origin != 0 && roa.asn == origin && prefix.len() <= roa.maxLength) {
                return OriginValidity::valid;
            }
            validity = OriginValidity::invalid;
        }
    }
    return validity;
}

void askTable(std::vector<Roa> const & roas) {
    RoaTable const table(roas);
    for (IpGenPrefix const & candidate : candidates()) {
        for (U32 const origin : {0U, 65001U}) {
            requireThat(table.validate(candidate, origin) == judged(roas, candidate, origin),
                        "a table judges as its payloads do one by one");
        }
    }
}

void askLists(NamedLists const & lists) {
    for (auto const & [name, list] : lists.prefixLists) {
        ask(*list);
    }
    for (auto const & [name, list] : lists.dynamicPrefixLists) {
        ask(*list.v4);
        ask(*list.v6);
    }
    for (auto const & [name, list] : lists.asPathAccessLists) {
        static_cast<void>(list->permits("65001 65002 {65003,65004}", 0));
    }
    for (auto const & [name, table] : lists.roaTables) {
        static_cast<void>(table->validate(candidates().front(), 65001));
    }
}

} // namespace

/// Reads the input as a lists document, or as an export of ROAs, and asks the lists.
extern "C" int LLVMFuzzerTestOneInput(U8 const * data, std::size_t size) {
    String text(reinterpret_cast<char const *>(data), size);
    // A document may name files of ROAs; those of this machine are not part of the input.
    if (text.find("\"file\"") != String::npos) {
        return 0;
    }
    try {
        if (text.find("\"roas\"") != String::npos) {
            askTable(readRoaExport(std::move(text), "fuzz", [](String const &) {}));
        } else {
            askLists(*readLists(std::move(text), "fuzz"));
        }
    } catch (DocumentError const &) {
    }
    return 0;
}
