#pragma once
// Handing a prepared message to the user's mail app, which the user sends (or not).

#include <filesystem>
#include <functional>
#include <string>

namespace pivra {

struct MailMessage {
    std::string recipient;             // one address
    std::string subject;
    std::string body;                  // plain text
    std::filesystem::path attachment;  // one file, attached as it is

    bool operator==(const MailMessage&) const = default;
};

class Mail {
public:
    // Receives whether the message reached a mail app's compose window.
    using Completion = std::function<void(bool composed)>;

    virtual ~Mail() = default;

    // Opens a new message in the user's mail app, filled in, for the user to
    // send; nothing is sent here. `completion` runs once on the main thread,
    // never before this returns, with false when no mail app is set up to
    // compose (or it could not be reached), so that the caller can offer
    // another way. Where the platform has no mail apps, it runs with false.
    virtual void compose(const MailMessage& message, Completion completion) = 0;
};

}  // namespace pivra
