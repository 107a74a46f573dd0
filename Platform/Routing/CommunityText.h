#pragma once

#include "Platform/Framework/Types.h"
#include "Platform/Routing/CommunityValue.h"

#include <optional>
#include <span>
#include <string_view>

/// Texts of communities. Readers take the whole text or nothing: no blanks, no signs, and a part
/// beyond its width makes the text no community. The `append` forms allocate only when `out` must
/// grow, for callers that write many and keep a buffer.

/// Reads a standard community: "65000:1" (two 16-bit halves), an integer up to 4294967295, or a
/// well-known name as registered for RFC 1997, 3765, 7999, 8326 and 9494 ("no-export"; any case,
/// "-" and "_" alike).
std::optional<U64> parseStandardCommunity(std::string_view text);

/// The name under which a standard community is registered, lower case and joined by "-"; empty for
/// all that have none.
std::string_view wellKnownCommunityName(U64 community);
/// All of those names.
std::span<std::string_view const> wellKnownCommunityNames();

/// "A:B". A number beyond 32 bits, which no standard community is, reads as a plain decimal.
String standardCommunityText(U64 community);
void appendStandardCommunityText(String & out, U64 community);

/// Reads a large or an extended community:
/// - "A:B:C": a large one, three 32-bit parts;
/// - "0x" and 16 hexadecimal digits: an extended one;
/// - "rt:" (route target) or "soo:" (route origin) with "ASN:NUMBER" or "IPV4:NUMBER": the type
///   octet is 0x00 for an ASN of 16 bits (NUMBER has 32), 0x02 for a larger ASN and 0x01 for an
///   address (NUMBER has 16);
/// - "lbw:ASN:BYTES_PER_SECOND": link bandwidth, a 16-bit ASN and a finite float, not negative.
std::optional<Acl::CommunityValue> parseCommunityValue(std::string_view text);

/// "A:B:C", whatever the type word.
String largeCommunityText(Acl::CommunityValue const & community);
void appendLargeCommunityText(String & out, Acl::CommunityValue const & community);

/// "0x" and the 16 digits of the value word; the type word does not show.
String extCommunityText(Acl::CommunityValue const & community);
void appendExtCommunityText(String & out, Acl::CommunityValue const & community);

/// What the stream form prints: the extended text for type word 0, else the large one.
String communityValueText(Acl::CommunityValue const & community);
void appendCommunityValueText(String & out, Acl::CommunityValue const & community);
