#include "tests/support/Traces.h"

#include "tests/support/Texts.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

KrRealVector numbers(std::istringstream& words) {
    KrRealVector result;
    for (std::string word; words >> word;) {
        if (word != "->") {
            result.push_back(std::strtod(word.c_str(), nullptr));
        }
    }
    return result;
}

}  // namespace

std::vector<std::filesystem::path> traceFiles(std::filesystem::path const& folder) {
    std::vector<std::filesystem::path> files;
    for (auto const& entry : std::filesystem::directory_iterator(folder)) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<TracedSearch> readTrace(std::filesystem::path const& path) {
    std::ifstream file(path);
    std::vector<TracedSearch> searches;
    std::string optimizer;
    bool isNew = false;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string kind;
        words >> kind;
        if (kind == "settings") {
            optimizer = document("optimizerContainer", line.substr(kind.size()));
            isNew = true;
        } else if (kind == "search") {
            std::string direction;
            std::string name;
            words >> direction >> name;
            auto const parameter = std::stod(name.substr(name.find(':') + 1));
            auto const n = static_cast<KrU32>(name.starts_with("powell") ? 4 : parameter);
            KrRealVector const start = numbers(words);
            searches.push_back({optimizer, isNew, direction == "minimum", n, start, {}, {}});
            isNew = false;
        } else if (kind == "=") {
            searches.back().found = numbers(words);
        } else {
            KrRealVector point = numbers(words);
            double const value = point.back();
            point.pop_back();
            searches.back().evaluations.push_back({kind == "B", point, value});
        }
    }
    return searches;
}
