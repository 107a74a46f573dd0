#include "Agent/RoaTable.h"

#include "Platform/Framework/Assert.h"

#include <algorithm>
#include <iterator>

#include <rtrlib/rtrlib.h>

namespace Qcf::Agent {

namespace {

lrtr_ip_addr addressOf(IpGenPrefix const & prefix) {
    lrtr_ip_addr address{};
    auto const & from = prefix.addr();
    if (from.af() == AddressFamily::ipv4) {
        address.ver = LRTR_IPV4;
        address.u.addr4.addr = from.v4Value();
        return address;
    }
    address.ver = LRTR_IPV6;
    for (U32 half = 0; half < 2; ++half) {
        U64 const value = from.halfValue(half);
        address.u.addr6.addr[2 * half] = static_cast<U32>(value >> 32);
        address.u.addr6.addr[2 * half + 1] = static_cast<U32>(value);
    }
    return address;
}

IpGenPrefix prefixOf(pfx_record const & record) {
    if (record.prefix.ver == LRTR_IPV4) {
        return {IpGenAddr::v4(record.prefix.u.addr4.addr), record.min_len};
    }
    std::array<U8, 16> octets{};
    for (U32 i = 0; i < octets.size(); ++i) {
        octets[i] = static_cast<U8>(record.prefix.u.addr6.addr[i / 4] >> (24 - 8 * (i % 4)));
    }
    return {IpGenAddr::v6(octets), record.min_len};
}

/// RTRlib's table ends the process over prefixes without any bit.
bool isTakenByRtrlib(Roa const & roa) { return roa.prefix.len() > 0; }

void append(pfx_record const * record, void * roas) {
    static_cast<std::vector<Roa> *>(roas)->push_back(
        {prefixOf(*record), record->max_len, record->asn});
}

} // namespace

/// The table of RTRlib.
class RoaTable::Records {
public:
    explicit Records(std::vector<Roa> const & roas) {
        pfx_table_init(&table_, nullptr);
        for (Roa const & roa : roas) {
            if (!isTakenByRtrlib(roa)) {
                continue;
            }
            pfx_record const record{roa.asn, addressOf(roa.prefix), roa.prefix.len(), roa.maxLength,
                                    nullptr};
            int const result = pfx_table_add(&table_, &record);
            QCF_ASSERT_TEXT(result == PFX_SUCCESS || result == PFX_DUPLICATE_RECORD,
                            "RTRlib takes every well-formed record");
        }
    }
    Records(Records const &) = delete;
    Records & operator=(Records const &) = delete;
    ~Records() { pfx_table_free(&table_); }

    /// Appends all different payloads.
    void appendTo(std::vector<Roa> & roas) {
        pfx_table_for_each_ipv4_record(&table_, append, &roas);
        pfx_table_for_each_ipv6_record(&table_, append, &roas);
    }

    pfxv_state validate(IpGenPrefix const & prefix, U32 originAs) {
        lrtr_ip_addr const address = addressOf(prefix);
        pfxv_state state = BGP_PFXV_STATE_NOT_FOUND;
        int const result = pfx_table_validate(&table_, originAs, &address, prefix.len(), &state);
        QCF_ASSERT(result == PFX_SUCCESS);
        return state;
    }

private:
    pfx_table table_{};
};

void RoaTable::Index::build(std::span<Roa const> ascending) {
    std::vector<IpGenPrefix> prefixes;
    for (Roa const & roa : ascending) {
        bool const isNewPrefix = prefixes.empty() || prefixes.back() != roa.prefix;
        if (isNewPrefix) {
            prefixes.push_back(roa.prefix);
            firstOfNode.push_back(static_cast<U32>(origins.size()));
        }
        origins.push_back({roa.asn, roa.maxLength});
    }
    firstOfNode.push_back(static_cast<U32>(origins.size()));
    trie = PrefixTrie(prefixes);
    for (U32 node = 0; node < trie.size(); ++node) {
        auto const first = origins.begin() + firstOfNode[node];
        auto const last = origins.begin() + firstOfNode[node + 1];
        std::ranges::sort(first, last, {}, [](Origin const & origin) {
            return std::pair(origin.asn, addressWidth(AddressFamily::ipv6) - origin.maxLength);
        });
    }
}

OriginValidity RoaTable::Index::validate(IpGenPrefix const & prefix, U32 originAs) const {
    auto validity = OriginValidity::notFound;
    for (U32 node = trie.longestMatch(prefix); node != PrefixTrie::none; node = trie.parent(node)) {
        validity = OriginValidity::invalid;
        auto const last = origins.begin() + firstOfNode[node + 1];
        auto const at = std::ranges::lower_bound(origins.begin() + firstOfNode[node], last,
                                                 originAs, {}, &Origin::asn);
        bool const isGranted = at != last && at->asn == originAs && prefix.len() <= at->maxLength;
        if (isGranted && originAs != 0) {
            return OriginValidity::valid;
        }
    }
    return validity;
}

RoaTable::RoaTable(std::vector<Roa> const & roas) : records_(std::make_unique<Records>(roas)) {
    std::vector<Roa> sorted;
    std::ranges::remove_copy_if(roas, std::back_inserter(sorted), isTakenByRtrlib);
    records_->appendTo(sorted);
    std::ranges::sort(sorted);
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    auto const firstV6 = std::ranges::partition_point(
        sorted, [](Roa const & roa) { return roa.prefix.af() == AddressFamily::ipv4; });
    size_ = sorted.size();
    v4_.build({sorted.begin(), firstV6});
    v6_.build({firstV6, sorted.end()});
}

RoaTable::~RoaTable() = default;

OriginValidity RoaTable::validate(IpGenPrefix const & prefix, U32 originAs) const {
    return (prefix.af() == AddressFamily::ipv4 ? v4_ : v6_).validate(prefix, originAs);
}

OriginValidity RoaTable::validateByRtrlib(IpGenPrefix const & prefix, U32 originAs) const {
    if (prefix.af() == AddressFamily::none) {
        return OriginValidity::notFound;
    }
    switch (records_->validate(prefix, originAs)) {
    case BGP_PFXV_STATE_VALID:
        return OriginValidity::valid;
    case BGP_PFXV_STATE_INVALID:
        return OriginValidity::invalid;
    case BGP_PFXV_STATE_NOT_FOUND:
        break;
    }
    return OriginValidity::notFound;
}

} // namespace Qcf::Agent
