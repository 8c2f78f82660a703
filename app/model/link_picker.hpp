#pragma once
// Where the model hands a link that the user is to route by hand. The picker
// panel implements it; a host without one leaves it unset, and the model
// then treats every such link as closed without a choice.

#include <functional>
#include <optional>

#include "core/routing/router.hpp"
#include "core/rules/rules_file.hpp"
#include "core/time/time.hpp"

namespace pivra {

struct PickRequest {
    Source source;
    Decision decision;  // what the rules would do; its url is the link to open
    long long batch = 0;
    Instant at;
};

class LinkPicker {
public:
    // Receives the chosen target, or nothing when the picker closed without a
    // choice (the link is then not opened), and whether the user asked for the
    // choice to become a rule.
    using Completion = std::function<void(std::optional<Target>, bool remember)>;

    virtual ~LinkPicker() = default;

    // Whether the panel is showing and collecting the links of `batch`.
    virtual bool isCollecting(long long batch) const = 0;

    // Takes the link. `completion` runs exactly once on the main thread, when
    // the user picks, copies or closes (possibly before this returns).
    virtual void pick(PickRequest request, Completion completion) = 0;
};

}  // namespace pivra
