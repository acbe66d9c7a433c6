#pragma once

#include "foundation/core/KrPrint.h"

#include <string>
#include <vector>

/// Collects the messages that are printed during its life.
class CapturedMessages {
public:
    CapturedMessages()
        : previous_(Kr::Print::instance().setSink(
              [this](Kr::Message const& message) { messages.push_back(message); })) {}
    ~CapturedMessages() { Kr::Print::instance().setSink(previous_); }
    CapturedMessages(CapturedMessages const&) = delete;
    CapturedMessages& operator=(CapturedMessages const&) = delete;

    /// The texts, end to end.
    std::string text() const {
        std::string all;
        for (Kr::Message const& message : messages) {
            all += message.text;
        }
        return all;
    }

    std::vector<Kr::Message> messages;

private:
    Kr::Print::Sink previous_;
};
