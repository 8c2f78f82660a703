#pragma once
// A picker that keeps the links it is given until the test answers for it.

#include <deque>

#include "app/model/link_picker.hpp"

namespace pivra::testing_support {

class ScriptedPicker final : public LinkPicker {
public:
    bool isCollecting(long long batch) const override { return collecting && *collecting == batch; }
    void pick(PickRequest request, Completion completion) override {
        requests.push_back(request);
        waiting.push_back(std::move(completion));
    }

    // Completes the oldest waiting link with `choice` (nothing: closed), and
    // whether the user asked to remember it.
    void answer(std::optional<Target> choice, bool remember = false) {
        auto completion = std::move(waiting.front());
        waiting.pop_front();
        completion(std::move(choice), remember);
    }

    std::optional<long long> collecting;
    std::vector<PickRequest> requests;
    std::deque<Completion> waiting;
};

}  // namespace pivra::testing_support
