#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// The text as content or attribute of XML and HTML. What they cannot hold becomes U+FFFD.
std::string escapedText(std::string_view text);

/// A number with four digits at most, for people.
std::string shortNumber(double value);

/// An axis of a picture, from `low` at the coordinate `from` to `high` at `to`. An empty range is
/// widened.
class ChartAxis {
public:
    enum class Scale { Linear, Logarithmic };
    struct Tick {
        double at;
        std::string text;
    };

    ChartAxis(double low, double high, double from, double to, Scale scale = Scale::Linear);

    bool contains(double value) const;
    /// The coordinate of `value`. Values beyond the axis are at its ends.
    double at(double value) const;
    /// About `count` ticks at 1, 2 or 5 times a power of ten, or at powers of ten.
    std::vector<Tick> ticks(int count, double smallestStep = 0.0) const;

    double from() const { return from_; }
    double to() const { return to_; }

private:
    std::vector<Tick> decades(int count) const;

    bool isLogarithmic_;
    double low_;  // the logarithm on a logarithmic axis
    double high_;
    double from_;
    double to_;
};

/// Points from left to right, reduced to the lowest and the highest in each column of the picture.
class ChartColumns {
public:
    ChartColumns(ChartAxis const& x, ChartAxis const& y);

    /// Adds a point; one beyond the y axis is left out. Returns whether it is on the axis.
    bool add(double x, double y);
    /// Adds a point; one beyond the y axis is at its end.
    void addLimited(double x, double y);

    /// The path of the points, as dots or vertical strokes.
    std::string dots() const;
    /// The path of a value that stays until the next point, up to the end of the x axis.
    std::string steps() const;

private:
    struct Column {
        bool isUsed = false;
        double top = 0.0;
        double bottom = 0.0;
        double last = 0.0;
    };

    ChartAxis const& x_;
    ChartAxis const& y_;
    std::vector<Column> columns_;
};

/// A picture as SVG inside of a page. The page's style sheet gives the classes their colours.
class Chart {
public:
    /// An empty picture. `id` is its own on the page; `title` and `description` replace the
    /// picture where it cannot be seen.
    Chart(std::string const& id, int width, int height, std::string const& title,
          std::string const& description);

    void line(std::string_view style, double x1, double y1, double x2, double y2);
    void path(std::string_view style, std::string const& path);
    /// `anchor` is "start", "middle" or "end".
    void text(std::string_view style, double x, double y, std::string_view anchor,
              std::string const& text);
    /// Grid lines and numbers of the axes.
    void grid(ChartAxis const& x, ChartAxis const& y, std::vector<ChartAxis::Tick> const& xTicks,
              std::vector<ChartAxis::Tick> const& yTicks);

    /// The whole element.
    std::string svg() const { return svg_ + "</svg>\n"; }

private:
    std::string svg_;
};

/// A coordinate with one decimal, for paths.
std::string coordinate(double value);
