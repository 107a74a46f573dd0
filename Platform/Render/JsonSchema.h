#pragma once

#include "Platform/Framework/Types.h"

#include <span>
#include <string_view>
#include <vector>

/// Pieces of a JSON Schema (draft 2020-12), put together from the inside out.
///
///     JsonSchema::Object route;
///     route.member("med", JsonSchema::integer(0, 0xffffffff), JsonSchema::optional);
///     String const schema = JsonSchema::document("Routes", route.text(), {});
///
/// Each function answers the schema of a value as JSON text; no text given is looked into, so that
/// only what these functions answered may be handed to them as a schema. For documents of a fixed
/// form: objects have no members but those that are named.
namespace JsonSchema {

/// A value that is exactly this text, or one of these.
String constant(std::string_view text);
String oneOf(std::span<std::string_view const> texts);
/// An integer within limits, both included. Schemas take 5.0 for an integer, readers need not.
String integer(U64 least, U64 most);
/// An integer of 64 bits and a sign.
String signedInteger();
/// A number that a 32-bit float can hold.
String float32();
String boolean();
String null();
/// Any text, or one in which the pattern (ECMA 262) is found.
String text();
String text(std::string_view pattern);
/// An array of such elements.
String array(String const & elements, U64 least = 0);
String array(String const & elements, U64 least, U64 most);
/// An object whose members, under any names or such in which the pattern is found, are all of one
/// form.
String map(String const & members, std::string_view pattern = {});
/// One of several forms.
String anyOf(std::vector<String> const & forms);
/// `then` for a value of the form `condition`, else `otherwise`.
String choice(String const & condition, String const & then, String const & otherwise);
/// The definition of that name; and with something more that must hold.
String reference(std::string_view name);
String reference(std::string_view name, std::string_view more, String const & schema);
/// Any object; any object that has that member.
String anyObject();
String having(std::string_view member);
String having(std::string_view member, String const & schema);
/// A step of `allOf`: of an object whose member is that text, the definition holds.
String when(std::string_view member, std::string_view text, std::string_view definition);
/// What the first says, and all of the others (joined by commas).
String allOf(String const & first, String const & others);
/// An object whose member, which it must have, is of that form, and of which a definition holds.
String selected(std::string_view member, String const & schema, std::string_view definition);

enum Presence : bool { optional, required };

/// An object with these members and no others.
class Object {
public:
    Object & member(std::string_view name, String const & schema, Presence presence = required);
    /// Says what the object is.
    Object & describedAs(std::string_view sentence);
    String text() const;

private:
    String members_;
    String required_;
    String description_;
};

/// A definition that others refer to.
struct Definition {
    String name;
    String schema;
};
/// The whole schema: that of the document itself, and what it refers to.
String document(std::string_view title, String const & root,
                std::span<Definition const> definitions);

/// A JSON text laid out for people, a member a line.
String laidOut(String const & json);

} // namespace JsonSchema
