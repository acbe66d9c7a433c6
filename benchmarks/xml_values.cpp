// Reading and writing a vector of a million doubles, beside the least that any
// reader and writer must do: a bare parse by expat with std::from_chars, and
// std::to_chars into a buffer.

#include "benchmarks/Memory.h"
#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlVectorType.h"

#include <benchmark/benchmark.h>
#include <expat.h>

#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <random>
#include <sstream>
#include <streambuf>
#include <vector>

namespace {

constexpr KrU32 count = 1'000'000;

KrXmlRealVector const& values() {
    static KrXmlRealVector const vector = [] {
        std::mt19937_64 engine(1);
        KrXmlRealVector reals;
        reals.reserve(count);
        for (KrU32 i = 0; i < count; ++i) {
            reals.pushBack(KrXmlBasicType<double>(static_cast<double>(engine()) * 0x1p-60));
        }
        return reals;
    }();
    return vector;
}

std::string const& path() {
    static std::string const name = [] {
        std::string const file =
            std::filesystem::temp_directory_path() /
            ("zeibreku-benchmark-" + std::to_string(std::random_device()()) + ".xml");
        KrXml::writeFile(file, values());
        return file;
    }();
    return name;
}

void readBareExpat(benchmark::State& state) {
    struct Parse {
        std::vector<double> values;
        std::string text;
        bool inItem = false;
    };
    for (auto _ : state) {
        Parse parse;
        parse.values.reserve(count);
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
        std::ifstream file(path(), std::ios::binary);
        while (file) {
            void* const buffer = XML_GetBuffer(parser, 1 << 16);
            file.read(static_cast<char*>(buffer), 1 << 16);
            XML_ParseBuffer(parser, static_cast<int>(file.gcount()), file.gcount() == 0);
        }
        XML_ParserFree(parser);
        if (parse.values.size() != count) {
            state.SkipWithError("not all read");
        }
    }
    state.SetItemsProcessed(state.iterations() * count);
}

void readVector(benchmark::State& state) {
    for (auto _ : state) {
        KrXmlRealVector vector;
        if (!KrXml::readFile(path(), vector) || vector.size() != count) {
            state.SkipWithError("not all read");
        }
    }
    state.SetItemsProcessed(state.iterations() * count);
}

// The memory that a read takes at its peak, in sizes of the values.
void readVectorMemory(benchmark::State& state) {
    path();
    for (auto _ : state) {
        std::ofstream("/proc/self/clear_refs") << '5';  // the peak starts from now
        double const before = Memory::ofProcess().now;
        KrXmlRealVector vector;
        KrXml::readFile(path(), vector);
        state.counters["peak_per_value_size"] = (Memory::ofProcess().peak - before) / (8.0 * count);
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

BENCHMARK(readVectorMemory)->Iterations(1);
BENCHMARK(readBareExpat)->Unit(benchmark::kMillisecond);
BENCHMARK(readVector)->Unit(benchmark::kMillisecond);
BENCHMARK(writeToCharsOnly)->Unit(benchmark::kMillisecond);
BENCHMARK(writeVector)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
