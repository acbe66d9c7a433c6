#include "foundation/math/KrRandomStream.h"

#include "foundation/math/KrMath.h"
#include "foundation/math/internal/KrElementary.h"

#include <bit>

KR_SOURCE_VERSION;

namespace {

// e^(-x²/2), the normal density without its constant factor.
double height(double x) { return KrElementary::exp(-0.5 * x * x); }

}  // namespace

// 256 layers of equal area under that curve. The lowest one includes the tail. Layer i
// reaches from its height to that of layer i + 1; its x reaches from 0 to its width.
class KrRandomStream::Ziggurat {
public:
    static constexpr int bits = 52;  // of the integer j in x = j step
    static constexpr double tailStart = 0x1.d3bb48209ad33p+1;

    struct Layer {
        double step;
        std::uint64_t inside;  // a smaller j lies below the curve at every height
        double height;
    };

    Ziggurat() {
        // With this area, found in 113 bits, layer 256 begins at the height 1.
        constexpr double area = 0x1.43016a5a43732p-8;
        double width = area / height(tailStart);
        double next = tailStart;
        for (int i = 0; i < 256; ++i) {
            constexpr double range = 0x1p52;
            layers_[i] = {width / range, static_cast<std::uint64_t>(next / width * range),
                          height(width)};
            width = next;
            double const top = area / width + height(width);
            next = top < 1.0 ? KrMath::sqrt(-2.0 * KrElementary::log(top)) : 0.0;
        }
        layers_[256] = {0.0, 0, 1.0};
    }

    static Ziggurat const& instance() {
        static Ziggurat const layers;
        return layers;
    }

    Layer const& operator[](std::size_t i) const { return layers_[i]; }

private:
    std::array<Layer, 257> layers_;
};

// The engine is std::mt19937_64 (M. Matsumoto and T. Nishimura, ACM Transactions on
// Modeling and Computer Simulation 8 (1998)) with the constants of the C++ standard. It is
// about twice as fast as one that branches on a random bit.
void KrRandomStream::seed(KrU32 seed) {
    std::uint64_t value = seed;
    for (std::size_t i = 0; i < size; ++i) {
        state_[i] = value;
        value = 6364136223846793005U * (value ^ (value >> 62)) + i + 1;
    }
    next_ = size;
}

inline void KrRandomStream::twist(std::size_t i, std::size_t following, std::size_t shifted) {
    constexpr std::uint64_t low = 0x7FFFFFFFU;
    std::uint64_t const y = (state_[i] & ~low) | (state_[following] & low);
    state_[i] = state_[shifted] ^ (y >> 1) ^ (0xB5026F5AA96619E9U & (0 - (y & 1)));
}

void KrRandomStream::refill() {
    constexpr std::size_t shift = 156;
    for (std::size_t i = 0; i < size - shift; ++i) {
        twist(i, i + 1, i + shift);
    }
    for (std::size_t i = size - shift; i < size - 1; ++i) {
        twist(i, i + 1, i + shift - size);
    }
    twist(size - 1, 0, shift - 1);
    next_ = 0;
}

inline std::uint64_t KrRandomStream::draw() {
    if (next_ == size) {
        refill();
    }
    std::uint64_t x = state_[next_++];
    x ^= (x >> 29) & 0x5555555555555555U;
    x ^= (x << 17) & 0x71D67FFFEDA60000U;
    x ^= (x << 37) & 0xFFF7EEE000000000U;
    return x ^ (x >> 43);
}

inline double KrRandomStream::uniform() { return static_cast<double>(draw() >> 11) * 0x1p-53; }

// The layer and the sign take 9 bits of a draw, x takes 52 others.
inline double KrRandomStream::normal(Ziggurat const& layers) {
    for (;;) {
        std::uint64_t const bits = draw();
        std::size_t const layer = bits & 0xFF;
        std::uint64_t const j = bits >> (64 - Ziggurat::bits);
        double x = static_cast<double>(static_cast<std::int64_t>(j)) * layers[layer].step;
        if (j >= layers[layer].inside && !(layer == 0 ? tail(x) : accepts(layers, layer, x))) {
            continue;
        }
        std::uint64_t const sign = (bits & 0x100) << 55;
        return std::bit_cast<double>(std::bit_cast<std::uint64_t>(x) ^ sign);
    }
}

// Whether a random height in the layer lies below the curve at `x`.
bool KrRandomStream::accepts(Ziggurat const& layers, std::size_t layer, double x) {
    double const low = layers[layer].height;
    double const y = low + uniform() * (layers[layer + 1].height - low);
    return y < height(x);
}

// Draws x from the tail (G. Marsaglia, "Generating a variable from the tail of the normal
// distribution", Technometrics 6 (1964)).
bool KrRandomStream::tail(double& x) {
    constexpr double start = Ziggurat::tailStart;
    for (;;) {
        // 1 - u lies in (0, 1], where the logarithm is finite.
        double const a = -KrElementary::log(1.0 - uniform()) / start;
        double const b = -KrElementary::log(1.0 - uniform());
        if (b + b > a * a) {
            x = start + a;
            return true;
        }
    }
}

KrRealVector KrRandomStream::normalRandoms(double mean, double standardDeviation, KrU32 count) {
    Ziggurat const& layers = Ziggurat::instance();
    KrRealVector values(count);
    for (double& value : values) {
        value = mean + standardDeviation * normal(layers);
    }
    return values;
}

double KrRandomStream::uniformRealRandom(double low, double high) {
    return low + (high - low) * uniform();
}
