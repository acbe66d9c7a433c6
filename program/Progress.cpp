#include "program/Progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

std::string formatted(char const* format, double number) {
    char text[64];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

// 75 s is 1:15, 4000 s is 1:06:40.
std::string duration(double seconds) {
    auto const total = static_cast<long long>(std::min(seconds, 1e15));
    char text[64];
    if (total >= 3600) {
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", total / 3600, total / 60 % 60,
                      total % 60);
    } else {
        std::snprintf(text, sizeof text, "%lld:%02lld", total / 60, total % 60);
    }
    return text;
}

void writeToStandardError(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

}  // namespace

Progress::Progress(KrSearch const& search, bool isQuiet)
    : maxEvaluations_(search.maxEvaluations()),
      maxSeconds_(search.maxSeconds()),
      isQuiet_(isQuiet),
      isTerminal_(isatty(STDERR_FILENO) == 1),
      sink_(Kr::Print::instance().setSink({})) {
    Kr::Print::instance().setSink([this](Kr::Message const& message) {
        clear();
        sink_(message);
    });
}

Progress::~Progress() {
    Kr::Print::instance().setSink(sink_);
    clear();
}

void Progress::evaluated(KrSearchProgress const& progress) {
    made_ += progress.isFromRecord ? 0 : 1;
    if (!isQuiet_ && progress.seconds - shown_ >= (isTerminal_ ? 0.1 : 10.0)) {
        shown_ = progress.seconds;
        show(line(progress));
    }
}

void Progress::write(std::string_view text) {
    clear();
    writeToStandardError(text);
}

// Such as "120 of 1000 evaluations, best 17.25, 3.1 per second, at most 4:43 left".
std::string Progress::line(KrSearchProgress const& progress) const {
    double const done = progress.evaluation + 1.0;
    std::string text = std::to_string(progress.evaluation + 1);
    if (maxEvaluations_ > 0) {
        text += " of " + std::to_string(maxEvaluations_);
    }
    text += " evaluations, best " + formatted("%.6g", progress.bestValue);
    double const rate = made_ / progress.seconds;
    double left = maxSeconds_ - progress.seconds;
    if (made_ > 0) {
        text += ", " + formatted("%.3g", rate) + " per second";
        if (maxEvaluations_ > 0) {
            left = std::min(left, (maxEvaluations_ - done) / rate);
        }
    }
    if (std::isfinite(left)) {
        text += ", at most " + duration(std::max(left, 0.0)) + " left";
    }
    return text;
}

void Progress::show(std::string line) {
    winsize size{};
    if (isTerminal_ && ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        line.resize(std::min<std::size_t>(line.size(), size.ws_col - 1));  // a longer one wraps
    }
    clear();
    writeToStandardError(isTerminal_ ? line : "zeibreku: " + line + '\n');
    isOnLine_ = isTerminal_;
}

void Progress::clear() {
    if (isOnLine_) {
        writeToStandardError("\r\033[K");
        isOnLine_ = false;
    }
}
