#pragma once

#include <algorithm>
#include <streambuf>
#include <string>

/// A stream that delivers `size` bytes at a time, as a pipe may.
class Pieces : public std::streambuf {
public:
    Pieces(std::string const& text, std::size_t size) : text_(text), size_(size) {}

private:
    int_type underflow() override {
        std::size_t const count = std::min(size_, text_.size() - at_);
        setg(text_.data() + at_, text_.data() + at_, text_.data() + at_ + count);
        at_ += count;
        return count == 0 ? traits_type::eof() : traits_type::to_int_type(*gptr());
    }

    std::string text_;
    std::size_t size_;
    std::size_t at_ = 0;
};
