#include "program/Chart.h"

#include "foundation/xml/internal/KrCharacters.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace {

std::string formatted(double value, std::chars_format format, int precision) {
    std::array<char, 400> room{};
    auto const [end, error] =
        std::to_chars(room.data(), room.data() + room.size(), value, format, precision);
    return {room.data(), end};
}

// "1e+06" as "1e6", and a minus sign as wide as a digit.
std::string forPeople(std::string text) {
    std::size_t const exponent = text.find('e');
    if (exponent != std::string::npos) {
        std::size_t const digits =
            std::min(text.find_first_not_of("+0-", exponent + 1), text.size());
        text.replace(exponent + 1, digits - exponent - 1, text[exponent + 1] == '-' ? "-" : "");
    }
    for (std::size_t i = 0; (i = text.find('-', i)) != std::string::npos;) {
        text.replace(i, 1, "−");
    }
    return text;
}

// The largest of 1, 2, 5 times a power of ten that is at least `least`.
double niceStep(double least) {
    double const power = std::pow(10.0, std::floor(std::log10(least)));
    for (double const factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= least) {
            return factor * power;
        }
    }
    return 10.0 * power;
}

// A multiple of `step`, with the digits that the step needs.
std::string tickText(double value, double step, double largest) {
    if (value == 0.0) {
        return "0";
    }
    int const place = static_cast<int>(std::floor(std::log10(step) + 1e-9));
    if (largest < 1e7 && place > -5) {
        return forPeople(formatted(value, std::chars_format::fixed, std::max(-place, 0)));
    }
    int const digits = static_cast<int>(std::floor(std::log10(std::abs(value)) + 1e-9)) - place;
    return forPeople(formatted(value, std::chars_format::scientific, std::clamp(digits, 0, 16)));
}

}  // namespace

std::string escapedText(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        auto const [code, length] = krDecodeUtf8(text);
        bool const isControl =
            (code < ' ' && code != '\n' && code != '\t') || (code >= 0x7f && code <= 0x9f);
        if (length == 0 || isControl || code == 0xfffe || code == 0xffff) {
            result += "�";
        } else if (code == '<') {
            result += "&lt;";
        } else if (code == '>') {
            result += "&gt;";
        } else if (code == '&') {
            result += "&amp;";
        } else if (code == '"') {
            result += "&quot;";
        } else {
            result += text.substr(0, length);
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return result;
}

std::string shortNumber(double value) {
    return std::isfinite(value) ? forPeople(formatted(value, std::chars_format::general, 4))
           : std::isnan(value)  ? "NaN"
           : value > 0.0        ? "INF"
                                : "−INF";
}

std::string coordinate(double value) {
    std::string text = formatted(value, std::chars_format::fixed, 1);
    if (text.ends_with(".0")) {
        text.resize(text.size() - 2);
    }
    return text;
}

ChartAxis::ChartAxis(double low, double high, double from, double to, Scale scale)
    : isLogarithmic_(scale == Scale::Logarithmic),
      low_(isLogarithmic_ ? std::log10(low) : low),
      high_(isLogarithmic_ ? std::log10(high) : high),
      from_(from),
      to_(to) {
    if (!(high_ / 2.0 > low_ / 2.0)) {
        double const margin = low_ == 0.0 ? 1.0 : std::max(0.1 * std::abs(low_), 1e-300);
        low_ = std::max(low_ - margin, std::numeric_limits<double>::lowest());
        high_ = std::min(high_ + margin, std::numeric_limits<double>::max());
    }
}

bool ChartAxis::contains(double value) const {
    double const x = isLogarithmic_ ? std::log10(value) : value;
    return x >= low_ && x <= high_;
}

// Halves, since a difference may overflow.
double ChartAxis::at(double value) const {
    double const x = !isLogarithmic_ ? value : value > 0.0 ? std::log10(value) : low_;
    double const part = (x / 2.0 - low_ / 2.0) / (high_ / 2.0 - low_ / 2.0);
    return from_ + (to_ - from_) * std::clamp(part, 0.0, 1.0);
}

auto ChartAxis::ticks(int count, double smallestStep) const -> std::vector<Tick> {
    if (isLogarithmic_) {
        return decades(count);
    }
    std::vector<Tick> all;
    double const step =
        niceStep(std::max(2.0 * ((high_ / 2.0 - low_ / 2.0) / count), smallestStep));
    double const first = std::ceil(low_ / step - 1e-9);
    double const largest = std::max(std::abs(low_), std::abs(high_));
    for (int i = 0; std::isfinite(first) && i <= 2 * count; ++i) {
        double const value = (first + i) * step;
        if (value - high_ <= 1e-9 * step) {  // false for an overflow
            all.push_back({at(value), tickText(value, step, largest)});
        }
    }
    return all;
}

auto ChartAxis::decades(int count) const -> std::vector<Tick> {
    std::vector<Tick> all;
    double const step = niceStep(std::max((high_ - low_) / count, 1.0));
    for (double exponent = std::ceil(low_ / step) * step; exponent <= high_; exponent += step) {
        double const value = std::pow(10.0, exponent);
        bool const isPlain = exponent >= -3.0 && exponent <= 4.0;
        all.push_back({from_ + (to_ - from_) * (exponent - low_) / (high_ - low_),
                       isPlain
                           ? shortNumber(value)
                           : forPeople("1e" + formatted(exponent, std::chars_format::fixed, 0))});
    }
    return all;
}

ChartColumns::ChartColumns(ChartAxis const& x, ChartAxis const& y)
    : x_(x), y_(y), columns_(static_cast<std::size_t>(x.to() - x.from()) + 1) {}

bool ChartColumns::add(double x, double y) {
    bool const isShown = y_.contains(y);
    if (isShown) {
        addLimited(x, y);
    }
    return isShown;
}

void ChartColumns::addLimited(double x, double y) {
    Column& column = columns_[static_cast<std::size_t>(x_.at(x) - x_.from())];
    double const at = y_.at(y);
    column.top = column.isUsed ? std::min(column.top, at) : at;
    column.bottom = column.isUsed ? std::max(column.bottom, at) : at;
    column.last = at;
    column.isUsed = true;
}

std::string ChartColumns::dots() const {
    std::string path;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (Column const& column = columns_[i]; column.isUsed) {
            path += 'M' + coordinate(x_.from() + static_cast<double>(i)) + ' ' +
                    coordinate(column.top) + 'V' + coordinate(column.bottom);
        }
    }
    return path;
}

std::string ChartColumns::steps() const {
    std::string path;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        Column const& column = columns_[i];
        if (!column.isUsed) {
            continue;
        }
        std::string const x = coordinate(x_.from() + static_cast<double>(i));
        path += path.empty() ? 'M' + x + ' ' + coordinate(column.top) : 'H' + x;
        if (column.bottom > column.top) {
            path += 'V' + coordinate(column.top) + 'V' + coordinate(column.bottom);
        }
        path += 'V' + coordinate(column.last);
    }
    return path.empty() ? path : path + 'H' + coordinate(x_.to());
}

Chart::Chart(std::string const& id, int width, int height, std::string const& title,
             std::string const& description)
    : svg_("<svg xmlns=\"http://www.w3.org/2000/svg\" id=\"" + id +
           "\" role=\"img\" viewBox=\"0 0 " + std::to_string(width) + ' ' + std::to_string(height) +
           "\" aria-labelledby=\"" + id + "-title " + id + "-text\">\n<title id=\"" + id +
           "-title\">" + escapedText(title) + "</title>\n<desc id=\"" + id + "-text\">" +
           escapedText(description) + "</desc>\n") {}

void Chart::line(std::string_view style, double x1, double y1, double x2, double y2) {
    path(style,
         'M' + coordinate(x1) + ' ' + coordinate(y1) + 'L' + coordinate(x2) + ' ' + coordinate(y2));
}

void Chart::path(std::string_view style, std::string const& path) {
    if (!path.empty()) {
        svg_ += "<path class=\"" + std::string(style) + "\" d=\"" + path + "\"/>\n";
    }
}

void Chart::text(std::string_view style, double x, double y, std::string_view anchor,
                 std::string const& text) {
    svg_ += "<text class=\"" + std::string(style) + "\" x=\"" + coordinate(x) + "\" y=\"" +
            coordinate(y) + "\" text-anchor=\"" + std::string(anchor) + "\">" + escapedText(text) +
            "</text>\n";
}

void Chart::grid(ChartAxis const& x, ChartAxis const& y, std::vector<ChartAxis::Tick> const& xTicks,
                 std::vector<ChartAxis::Tick> const& yTicks) {
    for (ChartAxis::Tick const& tick : yTicks) {
        line("grid", x.from(), tick.at, x.to(), tick.at);
        text("tick", x.from() - 8.0, tick.at + 4.0, "end", tick.text);
    }
    double const bottom = std::max(y.from(), y.to()) + 6.0;
    line("axis", x.from(), bottom, x.to(), bottom);
    for (ChartAxis::Tick const& tick : xTicks) {
        line("axis", tick.at, bottom, tick.at, bottom + 4.0);
        text("tick", tick.at, bottom + 18.0, "middle", tick.text);
    }
}
