#pragma once

#include "Platform/Render/JsonDocument.h"

#include <vector>

/// Reads the members of one object and sees to it that none is missing and none is left over.
///
///     JsonObjectReader reader(value, "Block");
///     JsonValue const stmts = reader.require("stmts");
///     std::optional<JsonValue> const key = reader.optional("key");
///     reader.done();
///
/// Keys must outlive the reader, as literals do. Failures are DocumentErrors.
class JsonObjectReader {
public:
    /// `subject` (may be empty) names in messages what the object stands for. Fails when `value` is
    /// not an object.
    explicit JsonObjectReader(JsonValue const & value, std::string_view subject = {});

    /// The member of that name; fails when the object has none.
    JsonValue require(std::string_view key);
    /// The member of that name, if there is one.
    std::optional<JsonValue> optional(std::string_view key);
    /// Fails when the object has a member that was not asked for.
    void done() const;

    JsonValue const & object() const noexcept { return object_; }

private:
    JsonValue object_;
    String subject_;
    std::vector<std::string_view> asked_;
    std::size_t found_ = 0;
};
