#pragma once

#include "foundation/core/KrPrint.h"

#include <pybind11/pybind11.h>

#include <vector>

// The messages of the library go to the logger "zeibreku" of Python's `logging`.
//
// A message is printed while the library holds the lock of its log. If the sink waited for the GIL
// there, a thread that holds the GIL and prints would wait for that lock, and neither would go on.
// So the sink only keeps the message, and `deliverMessages` logs it without the lock.

/// Logs the messages that were kept. Needs the GIL. An exception of a handler is unraisable.
void deliverMessages() noexcept;

/// Delivers messages at the end of a call from Python:
///
///     .def("run", &run, pybind11::call_guard<MessageDelivery>())
class MessageDelivery {
public:
    MessageDelivery() = default;
    ~MessageDelivery() { deliverMessages(); }
    MessageDelivery(MessageDelivery const&) = delete;
    MessageDelivery& operator=(MessageDelivery const&) = delete;
};

/// Keeps the messages of this thread while it lives, in the place of the logger.
class MessageCollector {
public:
    MessageCollector() : outer_(current_) { current_ = this; }
    ~MessageCollector() { current_ = outer_; }
    MessageCollector(MessageCollector const&) = delete;
    MessageCollector& operator=(MessageCollector const&) = delete;

    /// The messages so far, in order.
    std::vector<Kr::Message> const& messages() const { return messages_; }
    /// The texts as one line each.
    pybind11::list texts() const;
    /// Passes the messages on to the logger.
    void pass();

    /// The innermost collector of this thread, null if there is none.
    static MessageCollector* current() { return current_; }
    void add(Kr::Message const& message) { messages_.push_back(message); }

private:
    static thread_local MessageCollector* current_;
    MessageCollector* const outer_;
    std::vector<Kr::Message> messages_;
};
