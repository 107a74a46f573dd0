#include "Documents/ValueSchemas.h"

#include "Documents/Words.h"
#include "Platform/Render/JsonSchema.h"
#include "QcfLib/QcfEval.h"

#include <limits>

/// Patterns take every text that the reader of the type takes, and some that it refuses: that a
/// number is in range, or an address one, is not for patterns to say.
namespace Qcf::Documents {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

constexpr U32 esiOctets = 10;
constexpr char const * communityValuePattern =
    "^(0[xX][0-9A-Fa-f]{16}|[0-9]+:[0-9]+:[0-9]+|(rt|soo|lbw):.+:.+)$";

String octets(U32 count) {
    return JsonSchema::text("^[0-9A-Fa-f]{2}(:[0-9A-Fa-f]{2}){" + std::to_string(count - 1) + "}$");
}

template <typename Integer>
String integerSchema() {
    return JsonSchema::integer(0, std::numeric_limits<Integer>::max());
}

template <typename Set>
String flagsSchema() {
    std::vector<std::string_view> names;
    for (std::size_t bit = 0; bit < Set::width; ++bit) {
        names.emplace_back(Set::nameOf(bit));
    }
    return JsonSchema::array(JsonSchema::oneOf(names));
}

template <typename Value>
String formOf() {
    return valueSchema(Value());
}

String triStateLiteral() {
    return JsonSchema::anyOf({JsonSchema::boolean(), JsonSchema::constant(toString(QcfUnknown()))});
}
// An operator stands as the text by which it calls itself.
String operatorLiteral() {
    String const texts[] = {andOperatorFactory(1)->toStrep(), orOperatorFactory(1)->toStrep(),
                            sequentialOperatorFactory(1)->toStrep()};
    return JsonSchema::oneOf(std::vector<std::string_view>(std::begin(texts), std::end(texts)));
}
String argumentLiteral() {
    return JsonSchema::anyOf({triStateLiteral(), JsonSchema::signedInteger(), JsonSchema::float32(),
                              formOf<IpGenPrefix>(), formOf<IpGenAddr>(), formOf<EthAddr>(),
                              octets(esiOctets), JsonSchema::text(communityValuePattern)});
}

struct LiteralForm {
    NodeKind wanted;
    String (*schema)();
};
// By what the field wants; what is not here has no literals.
constexpr LiteralForm literalForms[] = {
    {NodeKind::int_, JsonSchema::signedInteger},
    {NodeKind::bandwidth, JsonSchema::float32},
    {NodeKind::triStateBool, triStateLiteral},
    {NodeKind::expression, triStateLiteral},
    {NodeKind::storageType, argumentLiteral},
    {NodeKind::logicalOperator, operatorLiteral},
    {NodeKind::ipAddress, formOf<IpGenAddr>},
    {NodeKind::ipPrefix, formOf<IpGenPrefix>},
    {NodeKind::macAddress, formOf<EthAddr>},
    {NodeKind::esi, formOf<std::optional<Evpn::Esid>>},
    {NodeKind::interface, formOf<IntfId>},
    {NodeKind::communityValue, formOf<Acl::CommunityValue>},
};

} // namespace

void addLiterals(FieldInfo const & field, std::vector<String> & forms) {
    for (LiteralForm const & each : literalForms) {
        if (field.wanted == wanting(each.wanted)) {
            forms.push_back(each.schema());
        }
    }
}

String valueSchema(U8 const &) { return integerSchema<U8>(); }
String valueSchema(U16 const &) { return integerSchema<U16>(); }
String valueSchema(U32 const &) { return integerSchema<U32>(); }
String valueSchema(U64 const &) { return integerSchema<U64>(); }
String valueSchema(F32 const &) { return JsonSchema::float32(); }
String valueSchema(bool const &) { return JsonSchema::boolean(); }
String valueSchema(String const &) { return JsonSchema::text(); }
String valueSchema(IntfId const &) { return JsonSchema::text(); }

String valueSchema(TriStateBoolValue const &) {
    String const texts[] = {toString(QcfTrue()), toString(QcfFalse()), toString(QcfUnknown())};
    return JsonSchema::anyOf(
        {JsonSchema::boolean(),
         JsonSchema::oneOf(std::vector<std::string_view>(std::begin(texts), std::end(texts)))});
}

String valueSchema(IpGenAddr const &) { return JsonSchema::text("^[0-9A-Fa-f:.]*$"); }
String valueSchema(IpGenPrefix const &) {
    return JsonSchema::text("^([0-9A-Fa-f:.]+/[0-9]{1,3})?$");
}
String valueSchema(EthAddr const &) { return octets(6); }
String valueSchema(std::optional<Evpn::Esid> const &) {
    return JsonSchema::anyOf({JsonSchema::null(), octets(esiOctets)});
}

String valueSchema(Acl::CommunityValue const &) {
    JsonSchema::Object words;
    words.member(word::communityValue, integerSchema<U64>());
    words.member(word::communityType, integerSchema<U32>());
    return JsonSchema::anyOf({JsonSchema::text(communityValuePattern), words.text()});
}

String valueSchema(Routing::Rib::ResolutionRibProfileConfig const &) {
    using Profile = Routing::Rib::ResolutionRibProfileConfig;
    JsonSchema::Object rib;
    rib.member(word::ribName, JsonSchema::text());
    rib.member(word::ribKind, integerSchema<U8>());
    JsonSchema::Object profile;
    profile.member(word::ribEntries, JsonSchema::array(rib.text(), 0, Profile::maxEntries));
    profile.member(word::useDefaultRib, JsonSchema::boolean());
    return profile.text();
}

String valueSchema(Routing::Policy::RouteMapFeatures const &) {
    return JsonSchema::array(JsonSchema::text());
}

String valueSchema(AccessibleAttributes const &) {
    JsonSchema::Object sets;
    sets.member(word::readAttributes, flagsSchema<AttributeSet>(), JsonSchema::optional);
    sets.member(word::writtenAttributes, flagsSchema<ModifiableAttributeSet>(),
                JsonSchema::optional);
    return sets.text();
}

String valueSchema(FunctionMetadata const & value) {
    JsonSchema::Object kinds;
    String const slots = JsonSchema::map(integerSchema<U16>());
    FunctionMetadata::eachKind(value, [&](char const * kind, SlotMap const &) {
        kinds.member(kind, slots, JsonSchema::optional);
    });
    kinds.member(word::dynamicPrefixLists, slots, JsonSchema::optional);
    return kinds.text();
}

} // namespace Qcf::Documents
