#include "bench/ImportText.h"

#include "Platform/Routing/CommunityText.h"
#include "bench/TextPolicy.h"

namespace Qcf::Bench {

namespace {

constexpr char const * functionName = "P5";

String text(ImportData::Range const & range) {
    String const low = std::to_string(range.low);
    return range.low == range.high ? low : low + ".." + std::to_string(range.high);
}

/// The elements as texts, with what stands between two of them.
template <typename Elements, typename TextOf>
String joined(Elements const & elements, char const * between, TextOf textOf) {
    String text;
    for (auto const & element : elements) {
        text += (text.empty() ? "" : between) + textOf(element);
    }
    return text;
}

String listsText(ImportData const & data) {
    String lists = "list as_path_list REFUSED {\n";
    for (String const & pattern : data.patterns) {
        lists += "  permit \"" + pattern + "\"\n";
    }
    lists += "}\nlist roa_table RPKI {\n";
    for (Lists::Roa const & roa : data.roas) {
        lists += "  " + roa.prefix.toString() + " max " + std::to_string(roa.maxLength) + " AS" +
                 std::to_string(roa.asn) + "\n";
    }
    return lists + "}\n";
}

/// Without the lists.
String functionText(ImportData const & data) {
    String const reserved = joined(data.reserved, "\n      or ", [](IpGenPrefix const & prefix) {
        return "prefix covered by " + prefix.toString();
    });
    String const tooShort = text({0, data.lengths.low - 1});
    String const tooLong = text({data.lengths.high + 1, 128});
    return "function " + String(functionName) + "() {\n" + "  if " + reserved +
           " {\n    return false\n  }\n" + "  if prefix.length in { " + tooShort + ", " + tooLong +
           " }\n" + "      or ( prefix.ip_version is 4 and prefix.length > " +
           std::to_string(data.longestV4) + " ) {\n    return false\n  }\n" +
           "  if as_path.origin_as in { " + joined(data.origins, ", ", text) +
           " } {\n    return false\n  }\n" +
           "  if as_path matches REFUSED {\n    return false\n  }\n" +
           "  if match_origin_as_validity(roa_table RPKI, 2) {\n    return false\n  }\n" +
           "  if match_origin_as_validity(roa_table RPKI, 0) {\n" +
           "    local_preference = " + std::to_string(data.validPreference) + "\n  } else {\n" +
           "    local_preference = " + std::to_string(data.otherPreference) + "\n  }\n" +
           "  community add { " + standardCommunityText(data.added) + " }\n" + "  return true\n}\n";
}

} // namespace

String importText(ImportData const & data) { return listsText(data) + functionText(data); }

EngineProgram importProgram(PolicyData const & data) {
    return TextPolicy::ofText(importText(data.p5), functionName).program(functionName);
}

PtrConst<Eval::Function> importFunction(PolicyData const & data) {
    ImportData withoutRoas = data.p5;
    withoutRoas.roas.clear();
    return TextPolicy::ofText(importText(withoutRoas), functionName).program(functionName).function;
}

} // namespace Qcf::Bench
