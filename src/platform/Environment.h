#pragma once

#include <string>
#include <string_view>

namespace optera::platform {

// The environment variables that a Windows process on this machine sees.
class Environment {
  public:
    virtual ~Environment() = default;
    // The value of a variable, its name matched without regard to case; "" when unknown.
    virtual std::string Get(std::string_view name) const = 0;
};

}  // namespace optera::platform
