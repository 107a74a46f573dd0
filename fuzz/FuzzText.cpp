#include "Documents/Program.h"
#include "Lists/ListRecord.h"
#include "Text/Formatter.h"
#include "Text/ListPrinter.h"
#include "Text/Policy.h"
#include "Text/Printer.h"
#include "fuzz/Require.h"

namespace {

using namespace Qcf::Text; // NOLINT(google-build-using-namespace): what is under test

/// A program without the keys, by which alone a text and its print may differ.
String unkeyed(Policy const & policy) { return printPolicy(policy.program()); }

/// What is printed reads back and is printed alike; lists, too.
void printed(Policy const & policy) {
    String const text = unkeyed(policy) + printLists(policy.listRecords());
    Sources sources;
    Messages messages;
    auto const again = readPolicyText(text, "printed", sources, messages);
    if (!again) {
        requireSame(text, messages.all().empty() ? "nothing" : lineOf(messages.all()[0], sources));
    }
    requireSame(text, unkeyed(*again) + printLists(again->listRecords()));
}

/// What is laid out stays so, and means the same; what cannot be laid out is no policy.
void laidOut(String const & text, Policy const * policy) {
    Sources sources;
    Messages messages;
    U32 const file = sources.add("fuzz", text);
    auto const laid = formatText(sources, file, messages);
    if (!laid) {
        requireThat(policy == nullptr || text.empty(), "a policy can be laid out");
        return;
    }
    U32 const second = sources.add("laid out", *laid);
    requireSame(*laid, formatText(sources, second, messages).value_or("nothing"));
    Messages ofLaid;
    Sources laidSources;
    auto const again = readPolicyText(*laid, "laid out", laidSources, ofLaid);
    requireThat(again.has_value() == (policy != nullptr), "layout changes no meaning");
    if (policy != nullptr) {
        requireSame(unkeyed(*policy), unkeyed(*again));
    }
}

} // namespace

/// Reads the input as a policy text, prints it and lays it out.
extern "C" int LLVMFuzzerTestOneInput(U8 const * data, std::size_t size) {
    String const text(reinterpret_cast<char const *>(data), size);
    // A text may import files; those of this machine are not part of the input.
    if (text.find("import") != String::npos) {
        return 0;
    }
    try {
        Sources sources;
        Messages messages;
        auto const policy = readPolicyText(text, "fuzz", sources, messages);
        requireThat(policy.has_value() != messages.hasErrors(), "what is refused is told");
        for (Message const & message : messages.all()) {
            static_cast<void>(lineOf(message, sources));
        }
        if (policy) {
            printed(*policy);
        }
        laidOut(text, policy ? &*policy : nullptr);
    } catch (DocumentError const &) {
        // Not well-formed UTF-8.
    }
    return 0;
}
