#include "cli/Session.h"

#include <iostream>

namespace optera::cli {

std::unique_ptr<Session> Session::Open(const SessionOptions& options, std::string& error) {
    std::unique_ptr<Session> session(new Session());
    session->prompts_ = std::make_unique<ConsolePrompts>(std::cerr);
    session->core_ = core::Session::Open(options, *session->prompts_, error);
    if (!session->core_) return nullptr;
    return session;
}

}  // namespace optera::cli
