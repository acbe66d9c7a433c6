// Edits a good record line by line, seals the lines again, and gives it to its search. It must be
// refused, or continue.

#include "foundation/core/KrPrint.h"
#include "function/multivariable/KrCallableFunction.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "search/KrEvaluation.h"
#include "search/KrEvaluationRecord.h"
#include "search/KrSearch.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr std::size_t sealSize = 9;  // a blank and eight digits

void require(bool holds, char const* what) {
    if (!holds) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

// A file without a disk.
class File {
public:
    void set(std::string const& text) const {
        require(ftruncate(descriptor_, 0) == 0 && pwrite(descriptor_, text.data(), text.size(),
                                                         0) == static_cast<ssize_t>(text.size()),
                "a file cannot be written");
    }
    std::string text() const {
        std::string text(static_cast<std::size_t>(lseek(descriptor_, 0, SEEK_END)), ' ');
        require(
            pread(descriptor_, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()),
            "a file cannot be read");
        return text;
    }
    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int const descriptor_ = memfd_create("record", MFD_CLOEXEC);
};

std::string sealed(std::string const& line) {
    std::uint32_t crc = ~std::uint32_t{0};
    for (char const c : line) {
        crc ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1U) ^ (crc & 1U ? 0xedb88320U : 0U);
        }
    }
    char seal[sealSize + 1];
    std::snprintf(seal, sizeof seal, " %08x", ~crc);
    return line + seal;
}

KrSearch sampleSearch() {
    KrNelderMeadOptimizer optimizer;
    optimizer.setMaxFunctionEvaluations(40);
    KrSearch search;
    KrSearchVariableVector variables;
    for (double const start : {3.0, -1.0}) {
        KrSearchVariable variable;
        variable.setName(start > 0.0 ? "a" : "b");
        variable.setStart(start);
        variables.pushBack(variable);
    }
    search.setVariables(variables);
    search.setOptimizer(optimizer);
    return search;
}

// Runs the search, and returns how often it has called its function.
KrU32 run(KrSearch const& search, std::string const& path) {
    KrU32 calls = 0;
    KrCallableFunction const f(2, [&](KrRealVector const& x) {
        ++calls;
        return x[0] > 3.2 ? throw KrEvaluationFailure("too \"long\"")
                          : x[0] * x[0] + (x[0] + x[1]) * x[1];
    });
    KrEvaluationRecord record(path);
    search.run(f, {.record = &record});
    return calls;
}

std::vector<std::string> goodLines(KrSearch search, File const& file) {
    for (KrU32 const evaluations : {5U, 12U}) {  // two runs
        search.setMaxEvaluations(evaluations);
        run(search, file.path());
    }
    std::istringstream text(file.text());
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) {
        lines.push_back(lines.empty() ? line : line.substr(0, line.size() - sealSize));
    }
    return lines;
}

// Applies edits of four bytes: what, the line, where, and the new byte or another line.
void edit(std::vector<std::string>& lines, std::uint8_t const* data, std::size_t size) {
    static constexpr char characters[] = "0123456789.-+eaNIF \\\"x/<>\t\x7f\xc3";
    for (; size >= 4 && !lines.empty(); data += 4, size -= 4) {
        std::size_t const at = data[1] % lines.size();
        std::string& line = lines[at];
        std::size_t const place = line.empty() ? 0 : data[2] % line.size();
        char const character = characters[data[3] % (sizeof characters - 1)];
        auto const position = lines.begin() + static_cast<std::ptrdiff_t>(at);
        switch (data[0] % 7) {
            case 0: line.insert(place, 1, character); break;
            case 1: line.erase(place, 1 + data[3] % 8); break;
            case 2: line.resize(place); break;
            case 3: lines.erase(position); break;
            case 4: lines.insert(position, std::string(lines[data[3] % lines.size()])); break;
            case 5: std::swap(line, lines[data[3] % lines.size()]); break;
            default: line.replace(place, line.empty() ? 0 : 1, 1, character);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static bool const isMute = (Kr::Print::instance().setSink({}), true);
    static KrSearch const search = sampleSearch();
    static File const file;
    static std::vector<std::string> const good = goodLines(search, file);
    if (size == 0 || !isMute) {
        return 0;
    }
    std::vector<std::string> lines = good;
    edit(lines, data + 1, size - 1);
    std::string text;
    for (std::string const& line : lines) {
        text += (text.empty() ? line : sealed(line)) + '\n';
    }
    bool const isTorn = data[0] & 1;
    text.resize(text.size() - (isTorn ? std::min<std::size_t>(text.size(), data[0] / 2) : 0));
    file.set(text);

    KrEvaluationRecord record(file.path());
    bool const isLoaded = record.load();
    if (isLoaded) {
        record.verify();
    }
    KrU32 const calls = run(search, file.path());
    bool const isStub = lines.size() < 3 || text.find('\n', text.find('\n') + 1) == text.npos;
    bool const isOther = isLoaded && !record.search().firstDifference(search).empty();
    if (isOther || (!isLoaded && !isStub)) {
        require(calls == 0, "a search continues a record that is not its own");
        require(file.text() == text, "a refused record has changed");
    } else if (calls > 0) {
        require(KrEvaluationRecord(file.path()).load(), "a continued record does not load");
        require(run(search, file.path()) == 0, "a finished search calls its function again");
    }
    return 0;
}
