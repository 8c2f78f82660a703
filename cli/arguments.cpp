#include "cli/arguments.hpp"

#include <algorithm>

namespace pivra::cli {

std::expected<Arguments, std::string> Arguments::parse(const std::vector<std::string>& args,
                                                       const std::vector<OptionSpec>& known,
                                                       std::size_t minPositionals, std::size_t maxPositionals) {
    Arguments parsed;
    bool optionsEnded = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (optionsEnded || arg.size() < 2 || arg.compare(0, 2, "--") != 0) {
            parsed.positionals_.push_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        const auto equals = arg.find('=');
        const std::string name = arg.substr(2, equals == std::string::npos ? std::string::npos : equals - 2);
        const auto option = std::find_if(known.begin(), known.end(), [&](const OptionSpec& s) { return s.name == name; });
        if (option == known.end()) return std::unexpected("unknown option --" + name);
        if (!option->takesValue) {
            if (equals != std::string::npos) return std::unexpected("--" + name + " takes no value");
            parsed.values_[name] = "";
        } else if (equals != std::string::npos) {
            parsed.values_[name] = arg.substr(equals + 1);
        } else if (i + 1 < args.size()) {
            parsed.values_[name] = args[++i];
        } else {
            return std::unexpected("--" + name + " needs a value");
        }
    }
    if (parsed.positionals_.size() < minPositionals) return std::unexpected("missing argument");
    if (parsed.positionals_.size() > maxPositionals) {
        return std::unexpected("unexpected argument “" + parsed.positionals_[maxPositionals] + "”");
    }
    return parsed;
}

std::optional<std::string> Arguments::value(const std::string& name) const {
    const auto found = values_.find(name);
    if (found == values_.end()) return std::nullopt;
    return found->second;
}

}  // namespace pivra::cli
