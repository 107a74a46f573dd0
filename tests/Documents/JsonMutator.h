#pragma once

#include "Platform/Framework/Types.h"

#include <random>
#include <string_view>
#include <vector>

namespace Qcf::Documents::test {

/// Changes a JSON document into another one: values are replaced by others of the same document or
/// by odd ones, or leave with their names. What damage to bytes hardly ever leaves behind, a
/// document that parses, is what this makes.
class JsonMutator {
public:
    explicit JsonMutator(U32 seed) : random_(seed) {}

    String mutate(String text) {
        for (U32 changes = 1 + below(3); changes > 0; --changes) {
            auto const values = valuesOf(text);
            if (values.size() > 1) {
                change(text, values);
            }
        }
        return text;
    }

    /// A value of `text` is replaced by one of `other` that stands under the same name there.
    String cross(String text, String const & other) {
        auto const values = valuesOf(text);
        auto const others = valuesOf(other);
        for (U32 tries = 0; tries < 16 && values.size() > 1 && !others.empty(); ++tries) {
            Value const & to = values[1 + below(values.size() - 1)];
            Value const & from = others[below(others.size())];
            if (kindOf(text, to) == kindOf(other, from)) {
                text.replace(to.begin, to.end - to.begin, other, from.begin, from.end - from.begin);
                break;
            }
        }
        return text;
    }

private:
    /// From the first character of a value up to its end; of a member, the name also.
    struct Value {
        std::size_t begin;
        std::size_t end;
        std::size_t member;
    };

    U32 below(std::size_t bound) { return static_cast<U32>(random_() % bound); }

    void change(String & text, std::vector<Value> const & values) {
        static constexpr std::string_view odd[] = {"null",
                                                   "[]",
                                                   "{}",
                                                   "0",
                                                   "-1",
                                                   "65536",
                                                   "1e3",
                                                   "18446744073709551615",
                                                   "\"med\"",
                                                   "\"class\"",
                                                   "{\"ref\":1}",
                                                   "{\"ref\":7}",
                                                   "{\"class\":\"Med\"}",
                                                   "true",
                                                   "\"??\""};
        Value const & to = values[1 + below(values.size() - 1)];
        switch (below(6)) {
        case 0:
            text.replace(to.begin, to.end - to.begin, odd[below(std::size(odd))]);
            break;
        case 1:
            cut(text, to);
            break;
        case 2:
            replace(text, to, values[1 + below(values.size() - 1)]);
            break;
        default:
            replace(text, to, alike(text, values, to));
        }
    }

    static void replace(String & text, Value const & to, Value const & from) {
        String const other = text.substr(from.begin, from.end - from.begin);
        text.replace(to.begin, to.end - to.begin, other);
    }

    /// A value that stands under the same name, if a few tries find one: most documents stay what
    /// they are then.
    Value const & alike(String const & text, std::vector<Value> const & values, Value const & to) {
        for (U32 tries = 0; tries < 16; ++tries) {
            Value const & from = values[1 + below(values.size() - 1)];
            if (kindOf(text, from) == kindOf(text, to)) {
                return from;
            }
        }
        return to;
    }

    /// The name before a value, if any, and the value's first character.
    static std::string_view kindOf(String const & text, Value const & value) {
        return std::string_view(text).substr(value.member, value.begin + 1 - value.member);
    }

    /// Takes a value out together with a comma beside it.
    static void cut(String & text, Value const & value) {
        std::size_t end = value.end;
        std::size_t begin = value.member;
        if (text[end] == ',') {
            ++end;
        } else if (begin > 0 && text[begin - 1] == ',') {
            --begin;
        }
        text.erase(begin, end - begin);
    }

    /// All values of a document without blanks between its tokens, outer ones first.
    static std::vector<Value> valuesOf(String const & text) {
        std::vector<Value> values;
        std::vector<std::size_t> open;
        std::size_t member = 0;
        for (std::size_t at = 0; at < text.size();) {
            char const c = text[at];
            std::size_t const end = tokenEnd(text, at);
            if (c == '}' || c == ']') {
                if (!open.empty()) {
                    values[open.back()].end = end;
                    open.pop_back();
                }
            } else if (c != ',' && c != ':') {
                bool const isName = end < text.size() && text[end] == ':';
                bool const isNamed = at > 0 && text[at - 1] == ':';
                member = isName || !isNamed ? at : member;
                if (!isName) {
                    values.push_back({at, end, member});
                }
                if (!isName && (c == '{' || c == '[')) {
                    open.push_back(values.size() - 1);
                }
            }
            at = end;
        }
        return values;
    }

    static std::size_t tokenEnd(String const & text, std::size_t at) {
        if (std::string_view("{}[],:").find(text[at]) != std::string_view::npos) {
            return at + 1;
        }
        if (text[at] != '"') {
            return std::min(text.find_first_of("{}[],:\"", at), text.size());
        }
        for (++at; at < text.size() && text[at] != '"'; ++at) {
            at += text[at] == '\\' ? 1 : 0;
        }
        return std::min(at + 1, text.size());
    }

    std::mt19937 random_;
};

} // namespace Qcf::Documents::test
