// Generates a random field whose correlation is a scalar function in an XML file, and
// writes it as text, one line for each row, and as a picture:
//
//   05_random_field FILE.xml COLUMNS ROWS SPACING MEAN SAMPLES SEED [PICTURE]
//
//   05_random_field exponential.xml 400 300 0.2 0 100 1 field.png > field.txt
//   05_random_field triangular.xml 256 256 0.25 20 100 7 field.pgm > field.txt
//
// The function's argument is a distance in the unit of SPACING, the distance between
// neighbouring cells; its value at 0 is the variance. In the picture the smallest value is
// black and the largest white. Long runs print their progress to standard error.

#include "foundation/xml/KrXml.h"
#include "function/object/KrScalarFunctionContainer.h"
#include "function/scalar/KrMultipointScalarFunction.h"
#include "function/tools/KrRandomTensorTool.h"

#if ZEIBREKU_HAVE_PNG
#include <png.h>
#endif

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace {

int fail(std::string const& message) {
    std::fprintf(stderr, "05_random_field: %s\n", message.c_str());
    return 1;
}

template <class Number>
bool parse(char const* text, Number& number) {
    auto const [end, error] = std::from_chars(text, text + std::strlen(text), number);
    return error == std::errc() && *end == '\0';
}

// Generates a long run in parts, to print progress after each. Fields of n1, n2, ... samples
// with mean 0, each weighted by sqrt(ni / n), add up to a field of n samples.
KrReArray makeField(KrU32 columns, KrU32 rows, KrBaseScalarFunction& correlation, double spacing,
                    double mean, KrU32 samples) {
    // Each part factors the correlation matrix again, so a part has enough samples to take
    // more time than the factor.
    double const side = std::hypot(columns, rows);
    double const cells = 1.0 * columns * rows;
    double const partSize =
        std::max(100.0, side * side * side / (6.0 * (side * side + 4.0 * cells)));

    KrReArray field;
    field.resizeArrayAndFill(rows, columns, mean);
    KrRandomTensorTool tool;
    using Clock = std::chrono::steady_clock;
    auto nextReport = Clock::now() + std::chrono::milliseconds(200);
    for (KrU32 done = 0; done < samples;) {
        tool.setNumRandomSamples(std::min(samples - done, static_cast<KrU32>(partSize)));
        KrReArray part;
        tool.getGaussianRandomArray(part, columns, rows, correlation, spacing, 0.0);
        double const share = std::sqrt(1.0 * tool.numRandomSamples() / samples);
        for (KrU32 r = 0; r < rows; ++r) {
            for (KrU32 c = 0; c < columns; ++c) {
                field[r][c] += share * part[r][c];
            }
        }
        done += tool.numRandomSamples();
        if (done < samples && Clock::now() > nextReport) {
            std::fprintf(stderr, "%u of %u samples\n", done, samples);
            nextReport = Clock::now() + std::chrono::seconds(1);
        }
    }
    return field;
}

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

bool writePicture(std::string const& path, KrReArray const& field) {
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    for (KrRealVector const& row : field.rows()) {
        low = std::min(low, *std::min_element(row.begin(), row.end()));
        high = std::max(high, *std::max_element(row.begin(), row.end()));
    }
    std::vector<std::uint8_t> greys;
    for (KrRealVector const& row : field.rows()) {
        for (double const value : row) {
            double const share = high > low ? (value - low) / (high - low) : 0.5;
            greys.push_back(static_cast<std::uint8_t>(255.0 * share));
        }
    }
#if ZEIBREKU_HAVE_PNG
    if (endsWith(path, ".png")) {
        png_image image{};
        image.version = PNG_IMAGE_VERSION;
        image.width = field.numColumns();
        image.height = field.numRows();
        image.format = PNG_FORMAT_GRAY;
        return png_image_write_to_file(&image, path.c_str(), 0, greys.data(), 0, nullptr) != 0;
    }
#endif
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    if (!file) {
        return false;
    }
    std::fprintf(file, "P5\n%u %u\n255\n", field.numColumns(), field.numRows());
    bool const written = std::fwrite(greys.data(), 1, greys.size(), file) == greys.size();
    return std::fclose(file) == 0 && written;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 8 && argc != 9) {
        return fail("expected FILE.xml COLUMNS ROWS SPACING MEAN SAMPLES SEED [PICTURE]");
    }
    std::string const path = argv[1];
    KrU32 sides[2] = {};
    for (int i = 0; i < 2; ++i) {
        if (!parse(argv[2 + i], sides[i]) || sides[i] < 1 || sides[i] > 4096) {
            return fail(std::string("columns and rows: expected 1 to 4096, found \"") +
                        argv[2 + i] + "\"");
        }
    }
    double reals[2] = {};  // spacing and mean
    for (int i = 0; i < 2; ++i) {
        if (!parse(argv[4 + i], reals[i]) || !std::isfinite(reals[i])) {
            return fail(std::string("spacing and mean: expected a number, found \"") + argv[4 + i] +
                        "\"");
        }
    }
    KrU32 counts[2] = {};  // samples and seed
    for (int i = 0; i < 2; ++i) {
        if (!parse(argv[6 + i], counts[i])) {
            return fail(
                std::string("samples and seed: expected an integer up to 4294967295, found \"") +
                argv[6 + i] + "\"");
        }
    }
    std::string const picture = argc > 8 ? argv[8] : "";
#if ZEIBREKU_HAVE_PNG
    bool const known = endsWith(picture, ".png") || endsWith(picture, ".pgm");
    constexpr char const* formats = "PICTURE.png or PICTURE.pgm";
#else
    bool const known = endsWith(picture, ".pgm");
    constexpr char const* formats = "PICTURE.pgm (built without libpng)";
#endif
    if (!picture.empty() && !known) {
        return fail(std::string("expected ") + formats + ", found \"" + picture + "\"");
    }

    // A container creates linear scalar functions. A factory creates all others.
    KrXmlFactory factory;
    factory.registerCreator(KrMultipointScalarFunction::classToken(),
                            KrMultipointScalarFunction::xmlObjectCreator);
    KrScalarFunctionContainer container;
    if (!KrXml::readFile(path, container, &factory)) {  // prints faults and positions
        return 1;
    }
    KrBaseScalarFunction* const correlation = container.topElement();
    if (!correlation) {
        return fail(path + ": holds no function");
    }
    double const variance = correlation->evaluate(0.0);
    if (!(variance > 0.0 && std::isfinite(variance))) {
        return fail(path + ": expected a positive value at distance 0, found " +
                    std::to_string(variance));
    }

    KrRandomTensorTool().setRandomSeed(counts[1]);
    KrReArray const field =
        makeField(sides[0], sides[1], *correlation, reals[0], reals[1], counts[0]);
    for (KrRealVector const& row : field.rows()) {
        for (std::size_t c = 0; c < row.size(); ++c) {
            std::printf(c ? " %.9g" : "%.9g", row[c]);
        }
        std::printf("\n");
    }
    if (std::fflush(stdout) != 0) {
        return fail("standard output cannot be written");
    }
    if (!picture.empty() && !writePicture(picture, field)) {
        return fail(picture + ": cannot be written");
    }
    return 0;
}
