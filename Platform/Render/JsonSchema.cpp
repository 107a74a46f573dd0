#include "Platform/Render/JsonSchema.h"

#include "Platform/Render/RendererV2.h"

/// Text is joined here and nowhere else; the words of the language of schemas stand in one place.
namespace JsonSchema {

namespace {

String quoted(std::string_view text) {
    String out;
    RendererV2 renderer(out);
    renderer.value(text);
    return out;
}

/// `"name":schema`
String pair(std::string_view name, String const & schema) { return quoted(name) + ':' + schema; }

String joined(std::vector<String> const & parts) {
    String out;
    for (String const & part : parts) {
        out += out.empty() ? part : ',' + part;
    }
    return out;
}

void append(String & list, String const & part) { list += list.empty() ? part : ',' + part; }

String ofType(char const * type, String const & more = {}) {
    return R"({"type":")" + String(type) + '"' + (more.empty() ? "" : ',' + more) + '}';
}

} // namespace

String constant(std::string_view text) { return '{' + pair("const", quoted(text)) + '}'; }

String oneOf(std::span<std::string_view const> texts) {
    String list;
    for (std::string_view const each : texts) {
        append(list, quoted(each));
    }
    return R"({"enum":[)" + list + "]}";
}

String integer(U64 least, U64 most) {
    return ofType("integer", pair("minimum", std::to_string(least)) + ',' +
                                 pair("maximum", std::to_string(most)));
}
// Beyond the largest magnitude there is no number, either way.
String signedInteger() {
    String const most = std::to_string(~U64{0});
    return ofType("integer", R"("minimum":-)" + most + R"(,"maximum":)" + most);
}
String float32() { return ofType("number", R"("minimum":-3.4028235e38,"maximum":3.4028235e38)"); }
String boolean() { return ofType("boolean"); }
String null() { return ofType("null"); }
String text() { return ofType("string"); }
String text(std::string_view pattern) { return ofType("string", pair("pattern", quoted(pattern))); }

String array(String const & elements, U64 least) {
    return ofType("array", pair("items", elements) +
                               (least == 0 ? "" : ',' + pair("minItems", std::to_string(least))));
}
String array(String const & elements, U64 least, U64 most) {
    return ofType("array", pair("items", elements) + ',' + pair("minItems", std::to_string(least)) +
                               ',' + pair("maxItems", std::to_string(most)));
}

String map(String const & members, std::string_view pattern) {
    return pattern.empty()
               ? ofType("object", pair("additionalProperties", members))
               : ofType("object", pair("patternProperties", '{' + pair(pattern, members) + '}') +
                                      R"(,"additionalProperties":false)");
}

String anyOf(std::vector<String> const & forms) {
    return forms.size() == 1 ? forms.front() : R"({"anyOf":[)" + joined(forms) + "]}";
}

String choice(String const & condition, String const & then, String const & otherwise) {
    return '{' + pair("if", condition) + ',' + pair("then", then) + ',' + pair("else", otherwise) +
           '}';
}

String reference(std::string_view name) {
    return '{' + pair("$ref", quoted("#/$defs/" + String(name))) + '}';
}
String reference(std::string_view name, std::string_view more, String const & schema) {
    String both = reference(name);
    both.back() = ',';
    return both + pair(more, schema) + '}';
}

String anyObject() { return ofType("object"); }
String having(std::string_view member) {
    return ofType("object", pair("required", '[' + quoted(member) + ']'));
}
String having(std::string_view member, String const & schema) {
    return ofType("object", pair("required", '[' + quoted(member) + ']') + ',' +
                                pair("properties", '{' + pair(member, schema) + '}'));
}
String when(std::string_view member, std::string_view text, std::string_view definition) {
    return '{' +
           pair("if", '{' + pair("properties", '{' + pair(member, constant(text)) + '}') + '}') +
           ',' + pair("then", reference(definition)) + '}';
}
String allOf(String const & first, String const & others) {
    String both = first;
    both.back() = ',';
    return both + pair("allOf", '[' + others + ']') + '}';
}
String selected(std::string_view member, String const & schema, std::string_view definition) {
    return '{' + pair("required", '[' + quoted(member) + ']') + ',' +
           pair("properties", '{' + pair(member, schema) + '}') + ',' +
           pair("$ref", quoted("#/$defs/" + String(definition))) + '}';
}

Object & Object::member(std::string_view name, String const & schema, Presence presence) {
    append(members_, pair(name, schema));
    if (presence == required) {
        append(required_, quoted(name));
    }
    return *this;
}

Object & Object::describedAs(std::string_view sentence) {
    description_ = pair("description", quoted(sentence)) + ',';
    return *this;
}

String Object::text() const {
    return ofType("object", description_ + pair("properties", '{' + members_ + '}') +
                                R"(,"required":[)" + required_ +
                                R"(],"additionalProperties":false)");
}

String document(std::string_view title, String const & root,
                std::span<Definition const> definitions) {
    String names;
    for (Definition const & each : definitions) {
        append(names, pair(each.name, each.schema));
    }
    // The root's own members follow those of the document in one object.
    return R"({"$schema":"https://json-schema.org/draft/2020-12/schema",)" +
           pair("title", quoted(title)) + ',' + pair("$defs", '{' + names + '}') + ',' +
           root.substr(1);
}

// Only white space is added, so that numbers stay as they are, whatever their size.
String laidOut(String const & json) {
    String out;
    std::size_t depth = 0;
    auto const newLine = [&] { out += '\n' + String(2 * depth, ' '); };
    bool inText = false;
    for (std::size_t at = 0; at < json.size(); ++at) {
        char const c = json[at];
        bool const isEscaped = inText && c == '\\';
        inText = inText != (c == '"');
        bool const opens = !inText && (c == '{' || c == '[');
        bool const closes = !inText && (c == '}' || c == ']');
        bool const isEmpty = opens && (json[at + 1] == '}' || json[at + 1] == ']');
        if (closes) {
            --depth;
            newLine();
        }
        out += c;
        if (isEscaped || isEmpty) {
            out += json[++at];
        } else if (opens) {
            ++depth;
            newLine();
        } else if (!inText && c == ',') {
            newLine();
        } else if (!inText && c == ':') {
            out += ' ';
        }
    }
    return out + '\n';
}

} // namespace JsonSchema
