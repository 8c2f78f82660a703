#include "core/rules/rules_coding.hpp"

#include <algorithm>
#include <cmath>
#include <new>
#include <string>
#include <variant>
#include <vector>

#include <boost/json/monotonic_resource.hpp>

#include "core/text/json_reader.hpp"
#include "core/text/json_writer.hpp"
#include "core/text/raw_value.hpp"

namespace pivra {
namespace {

namespace json = boost::json;

// --- Writing ---------------------------------------------------------------

// The layout is written directly, keys already in byte order, rather than
// through a JSON value: a large file is written several times faster.
class LayoutWriter {
public:
    std::string take() { return std::move(out_); }

    void file(const RulesFile& file) {
        out_.reserve(256 + file.rules.size() * 400);
        out_ += '{';
        member(1, "cleanLinks", true);
        boolean(file.cleanLinks);
        member(1, "fallback", false);
        target(file.fallback, 1);
        member(1, "rules", false);
        if (file.rules.empty()) {
            out_ += "[]";
        } else {
            out_ += '[';
            for (std::size_t i = 0; i < file.rules.size(); ++i) {
                if (i > 0) out_ += ',';
                newline(2);
                rule(file.rules[i], 2);
            }
            newline(1);
            out_ += ']';
        }
        member(1, "version", false);
        out_ += std::to_string(file.version);
        newline(0);
        out_ += '}';
    }

private:
    void newline(int level) {
        out_ += '\n';
        out_.append(static_cast<std::size_t>(level) * 2, ' ');
    }

    // `name` is one of the fixed ASCII keys: it needs no escaping.
    void member(int level, std::string_view name, bool first) {
        if (!first) out_ += ',';
        newline(level);
        out_ += '"';
        out_ += name;
        out_ += "\" : ";
    }

    void boolean(bool value) { out_ += value ? "true" : "false"; }

    void target(const Target& target, int level) {
        out_ += '{';
        member(level + 1, "app", true);
        appendJsonString(out_, target.app);
        if (target.profile) {
            member(level + 1, "profile", false);
            appendJsonString(out_, *target.profile);
        }
        newline(level);
        out_ += '}';
    }

    void match(const Match& match, int level) {
        out_ += '{';
        member(level + 1, "kind", true);
        out_ += '"';
        out_ += rawValue(match.kind());  // a plain ASCII name: nothing to escape
        out_ += '"';
        if (match.kind() != Match::Kind::any) {
            member(level + 1, "values", false);
            const auto& values = match.values();
            if (values.empty()) {
                out_ += "[]";
            } else {
                out_ += '[';
                for (std::size_t i = 0; i < values.size(); ++i) {
                    if (i > 0) out_ += ',';
                    newline(level + 2);
                    appendJsonString(out_, values[i]);
                }
                newline(level + 1);
                out_ += ']';
            }
        }
        newline(level);
        out_ += '}';
    }

    void rule(const Rule& rule, int level) {
        out_ += '{';
        member(level + 1, "bringForward", true);
        boolean(rule.bringForward);
        member(level + 1, "enabled", false);
        boolean(rule.enabled);
        member(level + 1, "from", false);
        appendJsonString(out_, rule.from);
        member(level + 1, "id", false);
        appendJsonString(out_, rule.id);
        member(level + 1, "match", false);
        match(rule.match, level + 1);
        member(level + 1, "newWindow", false);
        boolean(rule.newWindow);
        member(level + 1, "open", false);
        target(rule.open, level + 1);
        newline(level);
        out_ += '}';
    }

    std::string out_;
};

// --- Reading ---------------------------------------------------------------

// Thrown inside the reader only; decode turns it into a RulesFileError.
struct ReadFailure {
    RulesFileError error;
};

const char* describeKind(const json::value& value) {
    switch (value.kind()) {
        case json::kind::null: return "null";
        case json::kind::bool_: return "a boolean";
        case json::kind::int64:
        case json::kind::uint64:
        case json::kind::double_: return "a number";
        case json::kind::string: return "a string";
        case json::kind::array: return "an array";
        case json::kind::object: return "an object";
    }
    return "a value";
}

// Walks the document, keeping the key path of the value being read so that
// every failure can say where it is.
class Reader {
private:
    using PathElement = std::variant<std::string_view, std::size_t>;
    std::vector<PathElement> path_;

    template <class F>
    auto withKey(std::string_view key, F&& read) {
        path_.emplace_back(key);
        auto result = read();
        path_.pop_back();
        return result;
    }

    template <class F>
    auto withIndex(std::size_t index, F&& read) {
        path_.emplace_back(index);
        auto result = read();
        path_.pop_back();
        return result;
    }

    std::string place() const {
        std::string text;
        const auto append = [&](const std::string& piece) {
            if (!text.empty()) text += ", ";
            text += piece;
        };
        for (std::size_t i = 0; i < path_.size(); ++i) {
            if (const auto* key = std::get_if<std::string_view>(&path_[i])) {
                if (*key == "rules" && i + 1 < path_.size() && std::holds_alternative<std::size_t>(path_[i + 1])) {
                    append("Rule " + std::to_string(std::get<std::size_t>(path_[i + 1]) + 1));
                    ++i;
                } else {
                    append(std::string(*key));
                }
            } else {
                append("item " + std::to_string(std::get<std::size_t>(path_[i]) + 1));
            }
        }
        return text.empty() ? "The file" : text;
    }

    [[noreturn]] void fail(const std::string& problem) const {
        throw ReadFailure{RulesFileError{std::nullopt, place() + ": " + problem}};
    }

    [[noreturn]] void wrongType(const char* expected, const json::value& found) const {
        fail(std::string("expected ") + expected + ", found " + describeKind(found));
    }

    // A member that has a default: absent and null both read as missing.
    static const json::value* optionalMember(const json::object& object, std::string_view key) {
        const auto* value = object.if_contains(key);
        return (value && !value->is_null()) ? value : nullptr;
    }

    // A member without a default: missing is its own error; null is a type error.
    const json::value& requiredMember(const json::object& object, std::string_view key) const {
        const auto* value = object.if_contains(key);
        if (!value) throw ReadFailure{RulesFileError{std::nullopt, place() + " is missing \u201C" + std::string(key) + "\u201D"}};
        return *value;
    }

    const json::object& expectObject(const json::value& value) const {
        if (!value.is_object()) wrongType("an object", value);
        return value.get_object();
    }

    const json::array& expectArray(const json::value& value) const {
        if (!value.is_array()) wrongType("an array", value);
        return value.get_array();
    }

    std::string readString(const json::value& value) const {
        if (!value.is_string()) wrongType("a string", value);
        return std::string(value.get_string());
    }

    bool readBool(const json::value& value) const {
        if (!value.is_bool()) wrongType("a boolean", value);
        return value.get_bool();
    }

    std::int64_t readInteger(const json::value& value) const {
        if (value.is_int64()) return value.get_int64();
        if (value.is_uint64()) fail("expected an integer, found a number out of range");
        if (value.is_double()) {
            const double number = value.get_double();
            if (!std::isfinite(number) || number < -9.2233720368547758e18 || number >= 9.2233720368547758e18) {
                fail("expected an integer, found a number out of range");
            }
            if (std::trunc(number) != number) fail("expected an integer, found a number with a fraction");
            return static_cast<std::int64_t>(number);
        }
        wrongType("an integer", value);
    }

    std::vector<std::string> readStrings(const json::value& value) {
        const auto& array = expectArray(value);
        std::vector<std::string> strings;
        strings.reserve(array.size());
        for (std::size_t i = 0; i < array.size(); ++i) {
            strings.push_back(withIndex(i, [&] { return readString(array[i]); }));
        }
        return strings;
    }

    Target readTarget(const json::value& value) {
        const auto& object = expectObject(value);
        Target target;
        const auto& app = requiredMember(object, "app");
        target.app = withKey("app", [&] { return readString(app); });
        if (const auto* profile = optionalMember(object, "profile")) {
            target.profile = withKey("profile", [&] { return readString(*profile); });
        }
        return target;
    }

    Match readMatch(const json::value& value) {
        const auto& object = expectObject(value);
        const auto& kindValue = requiredMember(object, "kind");
        const std::string name = withKey("kind", [&] { return readString(kindValue); });
        const auto kind = fromRawValue<Match::Kind>(name);
        if (!kind) {
            path_.emplace_back(std::string_view("kind"));
            fail("kind must be any, domains or patterns, not " + name);
        }
        if (*kind == Match::Kind::any) return Match::any();  // values are ignored, even of the wrong type
        std::vector<std::string> values;
        if (const auto* list = optionalMember(object, "values")) {
            values = withKey("values", [&] { return readStrings(*list); });
        }
        return *kind == Match::Kind::domains ? Match::domains(std::move(values)) : Match::patterns(std::move(values));
    }

    Rule readRule(const json::value& value) {
        const auto& object = expectObject(value);
        Rule rule;
        if (const auto* v = optionalMember(object, "id")) rule.id = withKey("id", [&] { return readString(*v); });
        if (const auto* v = optionalMember(object, "from")) rule.from = withKey("from", [&] { return readString(*v); });
        if (const auto* v = optionalMember(object, "match")) rule.match = withKey("match", [&] { return readMatch(*v); });
        const auto& open = requiredMember(object, "open");
        rule.open = withKey("open", [&] { return readTarget(open); });
        if (const auto* v = optionalMember(object, "enabled")) rule.enabled = withKey("enabled", [&] { return readBool(*v); });
        if (const auto* v = optionalMember(object, "bringForward")) rule.bringForward = withKey("bringForward", [&] { return readBool(*v); });
        if (const auto* v = optionalMember(object, "newWindow")) rule.newWindow = withKey("newWindow", [&] { return readBool(*v); });
        return rule;
    }

public:
    RulesFile readFile(const json::value& top) {
        const auto& object = expectObject(top);
        RulesFile file;
        if (const auto* value = optionalMember(object, "version")) file.version = withKey("version", [&] { return readInteger(*value); });
        if (const auto* value = optionalMember(object, "fallback")) file.fallback = withKey("fallback", [&] { return readTarget(*value); });
        if (const auto* value = optionalMember(object, "cleanLinks")) file.cleanLinks = withKey("cleanLinks", [&] { return readBool(*value); });
        if (const auto* value = optionalMember(object, "rules")) {
            withKey("rules", [&] {
                const auto& array = expectArray(*value);
                file.rules.reserve(array.size());
                for (std::size_t i = 0; i < array.size(); ++i) {
                    file.rules.push_back(withIndex(i, [&] { return readRule(array[i]); }));
                }
                return 0;
            });
        }
        return file;
    }
};

RulesFileError notValidJson(std::optional<int> line) { return RulesFileError{line, "Not valid JSON"}; }

int lineAt(std::string_view bytes, std::size_t offset) {
    return 1 + static_cast<int>(std::count(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(offset), '\n'));
}

bool isJsonBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// The offset just past the last character before `end` that is not blank; 0 when there is none.
std::size_t endOfContentBefore(std::string_view bytes, std::size_t end) {
    while (end > 0 && isJsonBlank(bytes[end - 1])) --end;
    return end;
}

// The parser gives up at the "}" or "]" after a trailing comma, often a line
// below it; the comma is what the user has to remove, so its line is named.
int lineOfSyntaxError(std::string_view bytes, std::size_t failedAt) {
    failedAt = std::min(failedAt, bytes.size());
    std::size_t at = failedAt;
    while (at < bytes.size() && isJsonBlank(bytes[at])) ++at;
    const bool closes = at < bytes.size() && (bytes[at] == '}' || bytes[at] == ']');
    const std::size_t before = endOfContentBefore(bytes, at);
    if (closes && before > 0 && bytes[before - 1] == ',') return lineAt(bytes, before - 1);
    return lineAt(bytes, failedAt);
}

}  // namespace

namespace RulesCoding {

std::string encode(const RulesFile& file) {
    try {
        LayoutWriter writer;
        writer.file(file);
        return writer.take();
    } catch (const std::bad_alloc&) {
        return "{}";  // the writer's one way to fail; callers never write a partial file
    }
}

std::expected<RulesFile, RulesFileError> decode(std::string_view bytes) {
    // Some editors start a UTF-8 file with a byte order mark; it is not part of the JSON.
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
    try {
        json::monotonic_resource memory;
        const auto document = parseJsonDocument(bytes, &memory);
        if (!document) {
            if (!document.error().endedEarly) {
                return std::unexpected(notValidJson(lineOfSyntaxError(bytes, document.error().offset)));
            }
            // The document ended too early: point at its last line, if it has one.
            const std::size_t end = endOfContentBefore(bytes, bytes.size());
            return std::unexpected(notValidJson(end > 0 ? std::optional<int>(lineAt(bytes, end - 1)) : std::nullopt));
        }
        return Reader().readFile(*document);
    } catch (const ReadFailure& failure) {
        return std::unexpected(failure.error);
    } catch (const std::exception&) {
        return std::unexpected(RulesFileError{std::nullopt, "Couldn\u2019t read the rules"});
    }
}

}  // namespace RulesCoding
}  // namespace pivra
