#include "foundation/core/KrExport.h"
#include "program/Subcommands.h"

#include <fcntl.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
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

int outputError = 0;  // of the first write to standard output that failed

// A shell passes an empty name if a variable is not set. It must not stand for no file.
std::string refusalOfName(std::string const& file) {
    return file.empty() ? "expected the name of a file, found an empty one" : "";
}

struct SearchHelp : CLI::Formatter {
    std::string make_usage(CLI::App const* app, std::string name) const override {
        std::string usage = Formatter::make_usage(app, name);
        return usage.insert(usage.find_last_not_of('\n') + 1, " -- COMMAND [ARG...]");
    }
};

CLI::App* addSearch(CLI::App& app, SearchCall& call, bool hasWorkers) {
    CLI::App* const search = app.add_subcommand(
        "search", "Finds the values for which a program prints the smallest number.");
    search->formatter(std::make_shared<SearchHelp>());
    search->add_option("SEARCH.xml", call.file, "The search: variables, optimizer, limits")
        ->required();
    search->add_option("--record", call.record, "Keep all values in FILE, and continue from it")
        ->option_text("FILE")
        ->check(refusalOfName);
    if (hasWorkers) {
        search->add_option("--workers", call.workers, "Run N commands at once; 1 if not given")
            ->option_text("N")
            ->check(CLI::Range(1, 4096));
    }
    search->add_option("--report", call.report, "Write the report to FILE.xml too")
        ->option_text("FILE.xml")
        ->check(refusalOfName);
    search->add_flag("--quiet", call.isQuiet, "Show no progress");
    std::string const program = hasWorkers ? "zeibreku" : "mpirun -n 8 zeibreku-mpi";
    return search->footer(
        "One evaluation is one run of COMMAND. {name} in an ARG is replaced by the value of that\n"
        "variable. Standard input has all values on one line. The last line of standard output\n"
        "is the result. ZEIBREKU_WORKER is 0, 1, ..., and ZEIBREKU_EVALUATION a number for each.\n"
        "\n"
        "The report goes to standard output. The status is 0 when the search has ended, 1 when\n"
        "something was refused or failed, 2 for a wrong call, 130 when a signal stopped it.\n"
        "\n"
        "Example:\n  " +
        program + " search fit.xml --record fit.record -- ./simulate --mass {mass}");
}

void addOptionOfAxes(CLI::App& table, std::string const& name, std::vector<std::string>& items,
                     std::vector<std::string> const& known, std::string const& description) {
    std::string words;
    for (std::string const& word : known) {
        words += (words.empty() ? "" : "|") + word;
    }
    // A delimiter of CLI11 would drop empty items.
    table
        .add_option_function<std::string>(
            name,
            [&items, name, known](std::string const& text) {
                for (std::size_t begin = 0; begin <= text.size();
                     begin += items.back().size() + 1) {
                    items.push_back(text.substr(begin, text.find(',', begin) - begin));
                    if (std::find(known.begin(), known.end(), items.back()) == known.end()) {
                        throw CLI::ValidationError(name, CLI::IsMember(known)(items.back()));
                    }
                }
            },
            description)
        ->option_text(words + "[,...]");
}

void addDecimal(CLI::App& command, bool& hasDecimalComma) {
    command
        .add_option_function<std::string>(
            "--decimal", [&](std::string const& mark) { hasDecimalComma = mark == ","; },
            "The decimal mark of numbers; . if not given")
        ->option_text(".|,")
        ->check(CLI::IsMember({".", ","}));
}

CLI::App* addTable(CLI::App& app, TableCall& call) {
    CLI::App* const table =
        app.add_subcommand("table", "Prints the table file of a grid in the rows of a CSV file.");
    table
        ->add_option("GRID.csv", call.grid, "A row for each point, below a header and units if any")
        ->required();
    table->add_option("--axes", call.axes, "The first N columns are coordinates; required")
        ->option_text("N")
        ->required()
        ->check(CLI::Range(1, 64));
    std::vector<std::string> const ends{"limit", "extrapolate"};
    addOptionOfAxes(*table, "--search", call.search, {"bisection", "linear", "equal_spaced"},
                    "How a segment is found; bisection if not given");
    addOptionOfAxes(*table, "--low", call.low, ends,
                    "What happens below the smallest coordinate; limit if not given");
    addOptionOfAxes(*table, "--high", call.high, ends,
                    "What happens beyond the largest coordinate; limit if not given");
    addDecimal(*table, call.hasDecimalComma);
    table->add_option("-o,--output", call.output, "Write to FILE.xml")
        ->option_text("FILE.xml")
        ->check(refusalOfName);
    return table->footer(
        "Rows may stand in any order. The separator is a comma, a semicolon or a tab. An option\n"
        "that may differ between axes has one item for all, or one for each.\n"
        "\n"
        "Example:\n  zeibreku table wing.csv --axes 2 --high extrapolate,limit > wing.xml");
}

CLI::App* addEvaluate(CLI::App& app, EvaluateCall& call) {
    CLI::App* const evaluate = app.add_subcommand(
        "evaluate", "Prints the values of a function, table or constraint at points, as CSV.");
    evaluate->add_option("FILE.xml", call.file, "A file of any element that has values")
        ->required();
    evaluate
        ->add_option("POINTS.csv", call.points,
                     "One point in each row; standard input if not given")
        ->check(refusalOfName);
    evaluate->add_flag("--gradient", call.hasGradient, "Print gradients too");
    addDecimal(*evaluate, call.hasDecimalComma);
    return evaluate->footer(
        "A row of the result is the point and its values. They are empty where no table covers\n"
        "the point. A quadrature rule needs no points: its nodes and weights are printed.\n"
        "\n"
        "Example:\n  zeibreku evaluate wing.xml points.csv > values.csv");
}

int run(int argc, char** argv, std::string const& name, Spread const& spread) {
    CLI::App app("Searches whose function is a program, their records, and the library's files.",
                 name);
    app.set_version_flag("--version", name + " " KR_VERSION);
    app.failure_message([&](CLI::App const*, CLI::Error const& error) {
        return "zeibreku: " + std::string(error.what()) + "\n" + name + " --help shows the calls\n";
    });
    app.footer("Example:\n  zeibreku search fit.xml --record fit.record -- ./simulate {mass}");
    int status = Done;

    // The words behind "--" are those of COMMAND: CLI11 would split one such as [a,b].
    bool const isSearch = argc > 1 && std::strcmp(argv[1], "search") == 0;
    char** const words = std::find_if(argv, argv + argc, [&](char const* word) {
        return isSearch && std::strcmp(word, "--") == 0;
    });
    SearchCall call;
    addSearch(app, call, !spread)->callback([&] {
        if (argv + argc - words < 2) {
            throw CLI::RequiredError("-- COMMAND [ARG...]");
        }
        call.command.assign(words + 1, argv + argc);
        status = runSearch(call, spread);
    });

    std::string record;
    CLI::App* const verify = app.add_subcommand(
        "verify", "Replays a record without an evaluation, and compares every point.");
    verify->add_option("RECORD", record, "The record of a search")->required();
    verify->footer("Example:\n  zeibreku verify fit.record");
    verify->callback([&] { status = runVerify(record); });

    CLI::App* const report =
        app.add_subcommand("report", "Prints a page for a browser about a record.");
    report->add_option("RECORD", record, "The record of a search, which may be running")
        ->required();
    report->footer("Example:\n  zeibreku report fit.record > fit.html");
    report->callback([&] { status = runReport(record); });

    CheckCall checkCall;
    CLI::App* const check =
        app.add_subcommand("check", "Reads XML files and prints one line for each fault.");
    addCheckArguments(*check, checkCall);
    check->callback([&] { status = runCheck(checkCall); });

    CLI::App* const schema =
        app.add_subcommand("schema", "Prints the XML Schema of all elements, for editors.");
    schema->footer("Example:\n  zeibreku schema > zeibreku.xsd");
    schema->callback([&] { status = runSchema(); });

    TableCall tableCall;
    addTable(app, tableCall)->callback([&] {
        for (auto const* const items : {&tableCall.search, &tableCall.low, &tableCall.high}) {
            if (items->size() > 1 && items->size() != tableCall.axes) {
                std::string const each = std::to_string(tableCall.axes) + ", one for each axis";
                throw CLI::ValidationError("expected 1 item" +
                                           (tableCall.axes == 1 ? "" : " or " + each) + ", found " +
                                           std::to_string(items->size()));
            }
        }
        status = runTable(tableCall);
    });

    EvaluateCall evaluateCall;
    addEvaluate(app, evaluateCall)->callback([&] { status = runEvaluate(evaluateCall); });

    try {
        app.parse(static_cast<int>(words - argv), argv);
        if (app.get_subcommands().empty()) {
            throw CLI::RequiredError("A subcommand");
        }
    } catch (CLI::ParseError const& error) {
        return app.exit(error) == 0 ? Done : WrongCall;
    }
    return status;
}

}  // namespace

int runProgram(int argc, char** argv, std::string const& name, Spread const& spread) {
    openStandardFiles();
    std::signal(SIGPIPE, SIG_IGN);  // a write to a closed pipe fails instead
    // The end of the terminal stops a search as SIGTERM does, unless nohup ignores it.
    if (std::signal(SIGHUP, [](int) { std::raise(SIGTERM); }) == SIG_IGN) {
        std::signal(SIGHUP, SIG_IGN);
    }
    int status = Refused;
    try {
        status = run(argc, argv, name, spread);
    } catch (std::exception const& exception) {
        std::fprintf(stderr, "zeibreku: %s\n", exception.what());
    }
    writeOutput("");
    if (std::ferror(stdout) == 0) {
        return status;
    }
    if (outputError != EPIPE) {  // a reader such as head may close the pipe early
        std::fprintf(stderr, "zeibreku: standard output: %s\n",
                     outputError == 0 ? "cannot be written" : std::strerror(outputError));
    }
    return Refused;
}

void writeOutput(std::string_view text) {
    errno = 0;
    bool const isWritten =
        std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
    if (!isWritten && outputError == 0) {
        outputError = errno;
    }
}
