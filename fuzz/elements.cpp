// Changes documents by whole elements, for the target `documents`. Unusual combinations of elements
// reach the objects themselves. Damaged bytes are refused by the reader.

#include <algorithm>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t room);

namespace {

std::string_view textOf(std::uint8_t const* data, std::size_t size) {
    return {reinterpret_cast<char const*>(data), size};
}

// The elements of a document with their tags, found by the angle brackets alone. In a damaged
// document some may be missed.
std::vector<std::string_view> elements(std::string_view document) {
    std::vector<std::string_view> found;
    std::vector<std::size_t> open;
    for (std::size_t at = 0; (at = document.find('<', at)) != document.npos;) {
        std::size_t const end = document.find('>', at) + 1;
        if (end == 0) {
            break;
        }
        if (document[at + 1] != '/') {
            open.push_back(at);
        }
        bool const isWhole = document[at + 1] == '/' || document[end - 2] == '/';
        if (isWhole && !open.empty()) {
            found.push_back(document.substr(open.back(), end - open.back()));
            open.pop_back();
        }
        at = end;
    }
    return found;
}

using Random = std::minstd_rand;

// Replaces an element of the document by another, inserts one before it, or removes it. Returns
// nullopt if there is no room.
std::optional<std::size_t> exchange(std::string_view document, std::string_view donor,
                                    std::uint8_t* result, std::size_t room, Random& random) {
    auto const pick = [&](std::vector<std::string_view> const& from) {
        return from[random() % from.size()];
    };
    auto const places = elements(document);
    auto const others = elements(donor);
    if (places.empty() || others.empty()) {
        return std::nullopt;
    }
    std::string_view const place = pick(places);
    unsigned const kind = random() % 4;
    std::string text(document.data(), place.data());
    text += kind == 0 ? std::string_view() : pick(others);
    text += kind == 1 ? place : std::string_view();
    text.append(place.data() + place.size(), document.data() + document.size());
    if (text.size() > room) {
        return std::nullopt;
    }
    std::ranges::copy(text, result);
    return text.size();
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t room, unsigned seed) {
    Random random(seed);
    std::string const document(textOf(data, size));
    if (random() % 4 == 0) {
        if (auto const changed = exchange(document, document, data, room, random)) {
            return *changed;
        }
    }
    return LLVMFuzzerMutate(data, size, room);
}

extern "C" std::size_t LLVMFuzzerCustomCrossOver(std::uint8_t const* data, std::size_t size,
                                                 std::uint8_t const* other, std::size_t otherSize,
                                                 std::uint8_t* result, std::size_t room,
                                                 unsigned seed) {
    Random random(seed);
    return exchange(textOf(data, size), textOf(other, otherSize), result, room, random).value_or(0);
}
