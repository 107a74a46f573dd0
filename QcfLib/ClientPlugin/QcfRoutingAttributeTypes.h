#pragma once

/// What an agent needs beside the context: the conversions between the language's view of source
/// protocols and IS-IS levels and the routing library's, for the bodies of its operations:
///
///     U64 MyContext::sourceProtocolInput() const {
///         return static_cast<U64>(routeProtoToSourceProtocol(route_->proto));
///     }
///     void MyContext::isisLevelIs(PtrConst<U64SmallVector> const & value) {
///         route_->level = isisLevelFromVector(value);
///     }
///
/// Names parse as they print. All functions are free of state: any thread may call them.

#include "Platform/Framework/CharRange.h"
#include "Platform/Routing/RouteProto.h"
#include "QcfLib/QcfEvalCollections.h"

#include <iosfwd>
#include <optional>

namespace Qcf::Eval {

/// Protocols that a route can be redistributed from, as the language numbers them. 10 and 11 are
/// values without a name: they are written as their number.
enum class SourceProtocolType : U8 {
    ATTACHED_HOST = 0,
    CONNECTED = 1,
    DHCP = 2,
    DYNAMIC = 3,
    ISIS = 4,
    KERNEL = 5,
    NO_MATCH = 6,
    OSPF = 7,
    OSPFv3 = 8,
    STATIC = 9,
};
/// Values there are, with those that have no name.
inline constexpr U8 sourceProtocolTypeCount = 12;

/// Values of "fec.recmp".
enum class RecmpStateType : U8 { RECMP_DEFAULT = 0, RECMP_ENABLED = 1 };

/// The name of a value, or its number in decimal where it has none.
String stringValue(SourceProtocolType value);
String stringValue(RecmpStateType value);
std::ostream & operator<<(std::ostream & out, SourceProtocolType value);
std::ostream & operator<<(std::ostream & out, RecmpStateType value);

/// Reads a name, exactly as it is written, or a number in decimal; throws ParseError on anything
/// else.
SourceProtocolType SourceProtocolTypeInstance(String const & text);
/// The value of that number; throws ParseError when there is none.
SourceProtocolType SourceProtocolTypeInstance(U64 number);
RecmpStateType RecmpStateTypeInstance(String const & text);
RecmpStateType RecmpStateTypeInstance(U64 number);

/// For overrides of sourceProtocolInput. Asserts on a code that stands for no source protocol.
SourceProtocolType routeProtoToSourceProtocol(Routing::RouteProto proto);

/// For overrides of isisLevelInputPopulate: appends the levels to an empty set.
void isisLevelPopulateVector(Ptr<U64SmallVector> const & set, Routing::Isis::Level level);

/// For overrides of isisLevelIs. Asserts on a set that is none of {}, {1}, {2} and {1, 2}.
Routing::Isis::Level isisLevelFromVector(Ptr<U64SmallVector const> const & set);

} // namespace Qcf::Eval
