#pragma once

#include "Agent/Routes/RouteReader.h"

#include <initializer_list>
#include <string_view>
#include <vector>

/// Pieces that MRT files are put together from in tests, and what reading one gives.
namespace Qcf::Agent::test {

/// The low `size` bytes of a number, the highest first.
String be(U64 value, U32 size);
inline String u8(U64 value) { return be(value, 1); }
inline String u16(U64 value) { return be(value, 2); }
inline String u32(U64 value) { return be(value, 4); }

/// The 4 or 16 bytes of an address.
String address(std::string_view text);

/// Length and the bytes that it needs.
String prefix(std::string_view text);

/// A record of any type.
String record(U16 type, U16 subtype, String const & body);

/// A path attribute; a long value takes the extended form.
String attribute(U8 code, String const & value);
/// One segment with AS numbers of `width` bytes.
String segment(U8 type, std::initializer_list<U32> asns, U32 width);
/// AS_PATH of one sequence, four bytes a number.
String asPath4(std::initializer_list<U32> asns);
/// ORIGIN igp, AS_PATH and NEXT_HOP 192.0.2.1, as most tables have them.
String plainAttributes(std::initializer_list<U32> asns);

/// A peer index table with the peers 10.0.0.1 AS 65001 (two bytes), 10.0.0.2 AS 4200000000 and
/// 2001:db8::3 AS 65003.
String peerTable();
/// An entry of a TABLE_DUMP_V2 record.
String entry(U16 peer, String const & attributes);
/// A RIB record of one of the four plain families.
String rib(U16 subtype, std::string_view prefixText, std::vector<String> const & entries);

/// An UPDATE message with its header.
String update(String const & withdrawn, String const & attributes, String const & nlri);
/// A message of another type.
String message(U8 type, String const & body);
/// BGP4MP of the subtype over the session 10.0.0.1 AS 65001 to AS 65000.
String bgp4mp(U16 subtype, bool as4, String const & message);

/// What came of reading some bytes.
struct Outcome {
    std::vector<String> routes; ///< see routeText
    std::vector<String> reports;
    ReadStatistics statistics;

    bool operator==(Outcome const &) const = default;
};

/// "PREFIX via NEXT_HOP path[PATH] origin N med N pref N from ADDRESS AS N" and, where there are
/// any, " comm[...]", " ext[...]", " large[...]", " aigp N".
String routeText(Route const & route);

/// Reads all routes of a file that is called "t".
Outcome readAll(String bytes);

/// The same by that many shares, each of which takes up to `stretch` bytes and decodes them behind
/// those that took theirs later.
Outcome readByShares(String bytes, std::size_t shares, std::size_t stretch);

} // namespace Qcf::Agent::test
