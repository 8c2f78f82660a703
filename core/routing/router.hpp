#pragma once
// Turning one incoming link into one decision: which browser opens which
// address, why, and how.

#include <optional>
#include <string>
#include <vector>

#include <boost/url/url.hpp>
#include <boost/url/url_view.hpp>

#include "core/rules/rules_file.hpp"
#include "core/text/raw_value.hpp"
#include "core/time/time.hpp"

namespace pivra {

BOOST_DEFINE_ENUM_CLASS(DecisionReasonKind, rule, fallback, paused, loopGuard)

struct Decision {
    // Why this target was chosen.
    class Reason {
    public:
        using Kind = DecisionReasonKind;

        static Reason rule(int index, std::string id) { return Reason(Kind::rule, index, std::move(id)); }
        static Reason fallback() { return Reason(Kind::fallback, -1, {}); }
        static Reason paused() { return Reason(Kind::paused, -1, {}); }
        static Reason loopGuard() { return Reason(Kind::loopGuard, -1, {}); }

        Kind kind() const { return kind_; }
        // The zero-based position and id of the rule that matched; -1 and empty for other kinds.
        int index() const { return index_; }
        const std::string& id() const { return id_; }

        bool operator==(const Reason&) const = default;

    private:
        Reason(Kind kind, int index, std::string id) : kind_(kind), index_(index), id_(std::move(id)) {}
        Kind kind_;
        int index_;
        std::string id_;
    };

    boost::urls::url url;  // the address to open
    Target target;
    Reason reason = Reason::fallback();
    bool bringForward = true;
    bool newWindow = false;
    std::optional<std::string> unwrappedFrom;  // lower-cased host of the last redirector unwrapped

    // Links compare byte for byte (Boost.URL's own == compares normalized forms).
    bool operator==(const Decision& other) const {
        return url.buffer() == other.url.buffer() && target == other.target && reason == other.reason &&
               bringForward == other.bringForward && newWindow == other.newWindow &&
               unwrappedFrom == other.unwrappedFrom;
    }
};

// A link that was just opened in an app, remembered so that a link coming
// straight back from that app is not routed again.
struct RecentOpen {
    std::string app;
    Instant at;

    bool operator==(const RecentOpen&) const = default;
};

// Numbers links into batches: links from one source less than `kWindow` apart
// share a batch. The caller keeps one for the life of the app.
struct LinkBatcher {
    static constexpr Seconds kWindow{1.0};

    struct Arrival {
        Source source;
        Instant at;
        bool operator==(const Arrival&) const = default;
    };

    long long batch = 0;          // the first link gets batch 1
    std::optional<Arrival> last;  // the previous link, absent before the first

    // Returns the batch number of a link arriving now from `source`.
    long long add(const Source& source, Instant at);

    bool operator==(const LinkBatcher&) const = default;
};

namespace Router {

// How long a link coming back from the app it was just opened in is sent back there.
inline constexpr Seconds kLoopGuardWindow{2.0};

Decision decide(boost::urls::url_view link, const Source& source, const RulesFile& rules, bool paused,
                const std::vector<RecentOpen>& recent, Instant now);

}  // namespace Router
}  // namespace pivra
