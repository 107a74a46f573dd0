#pragma once

/// What an agent needs beside the context: the conversions between the language's view of source
/// protocols and IS-IS levels and the routing library's.

#include "Platform/Framework/CharRange.h"
#include "Platform/Routing/RouteProto.h"
#include "QcfLib/QcfEvalCollections.h"

#include <iosfwd>
#include <optional>

namespace Qcf::Eval {

/// Protocols that a route can be redistributed from, as the language numbers them. Values whose
/// name is not settled have none and are written as their number.
enum class SourceProtocolType : U8 {};
inline constexpr U8 sourceProtocolTypeCount = 12;

/// Values of "fec.recmp".
enum class RecmpStateType : U8 { RECMP_DEFAULT = 0, RECMP_ENABLED = 1 };

/// The name of a value, or its number in decimal where it has none.
String stringValue(SourceProtocolType value);
String stringValue(RecmpStateType value);
std::ostream & operator<<(std::ostream & out, SourceProtocolType value);
std::ostream & operator<<(std::ostream & out, RecmpStateType value);

/// Reads a name or a number; throws ParseError on anything else.
SourceProtocolType SourceProtocolTypeInstance(String const & text);
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
