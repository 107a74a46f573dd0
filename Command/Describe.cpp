#include "Command/Command.h"
#include "Command/Completion.h"
#include "Command/ManualPages.h"
#include "Command/WriteFile.h"

#include <filesystem>
#include <memory>

namespace {

/// Writes them where an installation has them below `share`.
int describe(CLI::App const & app, String const & folder) {
    namespace fs = std::filesystem;
    CommandTable const table = commandTable(app);
    fs::path const share(folder);
    fs::path const man = share / "man" / "man1";
    fs::path const bash = share / "bash-completion" / "completions";
    fs::path const zsh = share / "zsh" / "vendor-completions";
    for (fs::path const & each : {man, bash, zsh}) {
        fs::create_directories(each);
    }
    writeFile(man / "qcf.1", programPage(table));
    for (CommandRow const & command : table.commands) {
        writeFile(man / ("qcf-" + command.name + ".1"), commandPage(table, command));
    }
    writeFile(bash / "qcf", bashCompletion(table));
    writeFile(zsh / "_qcf", zshCompletion(table));
    return 0;
}

} // namespace

// For the build, which installs what it writes: no help tells of it.
void addDescribeCommand(Commands & commands) {
    auto const folder = std::make_shared<String>();
    auto & command =
        commands.add("describe", "Write the manual pages and the completions of shells",
                     "Writes man, bash-completion and zsh below the folder.", "qcf describe share",
                     [&commands, folder] { return describe(commands.app(), *folder); });
    command.add_option("folder", *folder, "Folder to write below")->required()->type_name("PATH");
    command.group("");
}
