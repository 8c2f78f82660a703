#pragma once
// The command line's options: "--name", "--name VALUE" or "--name=VALUE", and positionals.

#include <expected>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace pivra::cli {

struct OptionSpec {
    std::string name;  // without the leading "--"
    bool takesValue = false;
};

class Arguments {
public:
    // Fails with a usage message for an unknown option, a missing value, or a
    // number of positionals outside [minPositionals, maxPositionals]. A lone
    // "--" ends the options, so that a link beginning with "-" can be given.
    static std::expected<Arguments, std::string> parse(const std::vector<std::string>& args,
                                                        const std::vector<OptionSpec>& known,
                                                        std::size_t minPositionals, std::size_t maxPositionals);

    bool has(const std::string& name) const { return values_.contains(name); }
    std::optional<std::string> value(const std::string& name) const;
    const std::vector<std::string>& positionals() const { return positionals_; }

private:
    std::map<std::string, std::string> values_;
    std::vector<std::string> positionals_;
};

}  // namespace pivra::cli
