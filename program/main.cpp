// The program zeibreku: the documents of the library, and the records of searches.

#include "foundation/core/KrExport.h"
#include "program/Subcommands.h"

#include <fcntl.h>
#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdio>
#include <exception>
#include <string>

namespace {

// A caller may have closed them. A file opened later, such as a record, must not take their place.
void openStandardFiles() {
    for (int const descriptor : {0, 1, 2}) {
        if (fcntl(descriptor, F_GETFD) < 0) {
            static_cast<void>(open("/dev/null", O_RDONLY));
        }
    }
}

int run(int argc, char** argv) {
    CLI::App app("Checks the files of the library, and the records of its searches.", "zeibreku");
    app.set_version_flag("--version", "zeibreku " KR_VERSION);
    app.failure_message([](CLI::App const*, CLI::Error const& error) {
        return "zeibreku: " + std::string(error.what()) + "\nzeibreku --help shows the calls\n";
    });
    app.footer("Example:\n  zeibreku check fit.xml");
    int status = Done;

    std::string record;
    CLI::App* const verify = app.add_subcommand(
        "verify", "Replays a record without an evaluation, and compares every point.");
    verify->add_option("RECORD", record, "The record of a search")->required();
    verify->footer("Example:\n  zeibreku verify fit.record");
    verify->callback([&] { status = runVerify(record); });

    std::vector<std::string> files;
    CLI::App* const check =
        app.add_subcommand("check", "Reads XML files and prints one line for each fault.");
    check->add_option("FILE", files, "A file of any element of the library")->required();
    check->footer("Example:\n  zeibreku check fit.xml table.xml");
    check->callback([&] { status = runCheck(files); });

    CLI::App* const schema =
        app.add_subcommand("schema", "Prints the XML Schema of all elements, for editors.");
    schema->footer("Example:\n  zeibreku schema > zeibreku.xsd");
    schema->callback([&] { status = runSchema(); });

    try {
        app.parse(argc, argv);
        if (app.get_subcommands().empty()) {
            throw CLI::RequiredError("A subcommand");
        }
    } catch (CLI::ParseError const& error) {
        return app.exit(error) == 0 ? Done : WrongCall;
    }
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    openStandardFiles();
    std::signal(SIGPIPE, SIG_IGN);  // a write to a closed pipe fails instead
    int status = Refused;
    try {
        status = run(argc, argv);
    } catch (std::exception const& exception) {
        std::fprintf(stderr, "zeibreku: %s\n", exception.what());
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        std::perror("zeibreku: standard output");
        return Refused;
    }
    return status;
}
