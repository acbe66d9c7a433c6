// Reading and writing a vector of a million and of ten million doubles, compared with the least
// work of any reader and writer: a bare parse by expat with std::from_chars, and std::to_chars into
// a buffer.

#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlVectorType.h"
#include "support/Memory.h"

#include <benchmark/benchmark.h>
#include <expat.h>
#include <malloc.h>

#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <ostream>
#include <random>
#include <sstream>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr KrU32 count = 1'000'000;

KrXmlBasicType<double> next(std::mt19937_64& engine) {
    return KrXmlBasicType<double>(static_cast<double>(engine()) * 0x1p-60);
}

KrXmlRealVector const& values() {
    static KrXmlRealVector const vector = [] {
        std::mt19937_64 engine(1);
        KrXmlRealVector reals;
        reals.reserve(count);
        for (KrU32 i = 0; i < count; ++i) {
            reals.pushBack(next(engine));
        }
        return reals;
    }();
    return vector;
}

// Documents in files, which are removed at the end of the program. They are written value by value,
// so that a read finds no free memory of its document.
class Documents {
public:
    ~Documents() {
        for (auto const& [key, file] : files_) {
            std::filesystem::remove(file);
        }
    }

    std::string const& path(KrU32 size, bool hasCount = true) {
        std::string& file = files_[{size, hasCount}];
        if (file.empty()) {
            file = std::filesystem::temp_directory_path() /
                   ("zeibreku-benchmark-" + std::to_string(std::random_device()()) + ".xml");
            std::ofstream stream(file, std::ios::binary);
            KrXmlWriter writer("", stream);
            std::mt19937_64 engine(1);
            writer.startElement(KrXml::KrItemToken);
            if (hasCount) {
                KrXmlVector::writeCount(writer, size);
            }
            for (KrU32 i = 0; i < size; ++i) {
                krXmlWriteElement(writer, KrXml::KrItemToken, next(engine));
            }
            writer.endElement();
            writer.flush();
        }
        return file;
    }

private:
    std::map<std::pair<KrU32, bool>, std::string> files_;
};

Documents documents;

void readBareExpat(benchmark::State& state) {
    auto const size = static_cast<KrU32>(state.range(0));
    std::string const& path = documents.path(size);
    struct Parse {
        std::vector<double> values;
        std::string text;
        bool inItem = false;
    };
    for (auto _ : state) {
        Parse parse;
        parse.values.reserve(size);
        XML_Parser const parser = XML_ParserCreateNS(nullptr, '\0');
        XML_SetUserData(parser, &parse);
        XML_SetElementHandler(
            parser,
            [](void* data, char const* name, char const**) {
                auto& to = *static_cast<Parse*>(data);
                to.inItem = std::strcmp(name, "urn:zeibreku:function#item") == 0;
                to.text.clear();
            },
            [](void* data, char const*) {
                auto& to = *static_cast<Parse*>(data);
                if (to.inItem) {
                    double value = 0.0;
                    std::from_chars(to.text.data(), to.text.data() + to.text.size(), value);
                    to.values.push_back(value);
                    to.inItem = false;
                }
            });
        XML_SetCharacterDataHandler(parser, [](void* data, char const* text, int length) {
            auto& to = *static_cast<Parse*>(data);
            if (to.inItem) {
                to.text.append(text, static_cast<std::size_t>(length));
            }
        });
        std::ifstream file(path, std::ios::binary);
        while (file) {
            void* const buffer = XML_GetBuffer(parser, 1 << 16);
            file.read(static_cast<char*>(buffer), 1 << 16);
            XML_ParseBuffer(parser, static_cast<int>(file.gcount()), file.gcount() == 0);
        }
        XML_ParserFree(parser);
        if (parse.values.size() != size) {
            state.SkipWithError("not all read");
        }
    }
    state.SetItemsProcessed(state.iterations() * size);
}

void readVector(benchmark::State& state) {
    auto const size = static_cast<KrU32>(state.range(0));
    std::string const& path = documents.path(size, state.range(1));
    for (auto _ : state) {
        KrXmlRealVector vector;
        if (!KrXml::readFile(path, vector) || vector.size() != size) {
            state.SkipWithError("not all read");
        }
    }
    state.SetItemsProcessed(state.iterations() * size);
}

// The memory that a read takes at its peak, in sizes of the values.
void readVectorMemory(benchmark::State& state) {
    auto const size = static_cast<KrU32>(state.range(0));
    std::string const& path = documents.path(size, state.range(1));
    for (auto _ : state) {
        malloc_trim(0);                                 // of what was read before
        std::ofstream("/proc/self/clear_refs") << '5';  // the peak starts from now
        double const before = Memory::ofProcess().now;
        KrXmlRealVector vector;
        KrXml::readFile(path, vector);
        state.counters["peak_per_value_size"] = (Memory::ofProcess().peak - before) / (8.0 * size);
    }
}

void writeToCharsOnly(benchmark::State& state) {
    std::vector<char> buffer(32 * static_cast<std::size_t>(count));
    for (auto _ : state) {
        char* at = buffer.data();
        for (auto const& value : values()) {
            at = std::to_chars(at, at + 32, value.value()).ptr;
        }
        benchmark::DoNotOptimize(at);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * count);
}

void writeVector(benchmark::State& state) {
    struct Sink : std::streambuf {
        std::streamsize xsputn(char const*, std::streamsize length) override { return length; }
        int_type overflow(int_type character) override { return traits_type::not_eof(character); }
    };
    for (auto _ : state) {
        Sink sink;
        std::ostream stream(&sink);
        KrXmlWriter writer("", stream);
        krXmlWriteElement(writer, values().token(), values());
        if (!writer.flush()) {
            state.SkipWithError("not written");
        }
    }
    state.SetItemsProcessed(state.iterations() * count);
}

void sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgNames({"values", "count"})->ArgsProduct({{count, 10 * count}, {1, 0}});
}

BENCHMARK(readVectorMemory)->Apply(sizes)->Iterations(1);
BENCHMARK(readBareExpat)
    ->ArgName("values")
    ->Arg(count)
    ->Arg(10 * count)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(readVector)->Apply(sizes)->Unit(benchmark::kMillisecond);
BENCHMARK(writeToCharsOnly)->Unit(benchmark::kMillisecond);
BENCHMARK(writeVector)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
