#include "Agent/Routes/RouteSchema.h"
#include "Command/Command.h"
#include "Command/Output.h"
#include "Documents/DocumentSchema.h"
#include "Lists/ListsSchema.h"
#include "Platform/Render/JsonSchema.h"

#include <memory>

/// What each format is made of is known where it is read.
namespace {

struct Format {
    char const * name;
    String (*schema)();
};
constexpr Format formats[] = {
    {"document", Qcf::Documents::documentSchema},
    {"lists", Qcf::Lists::listsSchema},
    {"routes", Qcf::Agent::routeSchema},
};

int printSchema(String const & name) {
    for (Format const & format : formats) {
        if (name == format.name) {
            standardOutput().write(JsonSchema::laidOut(format.schema()));
        }
    }
    return 0;
}

} // namespace

void addSchemaCommand(Commands & commands) {
    auto const name = std::make_shared<String>("document");
    std::vector<std::string> names;
    for (Format const & format : formats) {
        names.emplace_back(format.name);
    }
    auto & command = commands.add(
        "schema", "Print the JSON Schema of a format",
        "Draft 2020-12, for editors and validators: evaluation-tree documents, lists documents, "
        "or\n"
        "routes (one line of a file of JSON lines). What a schema refuses no command takes;\n"
        "commands refuse more, which a schema cannot say, as references to what is not there.",
        "qcf schema --format lists > lists.schema.json", [name] { return printSchema(*name); });
    command.add_option("--format", *name, "document, lists or routes")
        ->check(CLI::IsMember(names))
        ->capture_default_str();
}
