#include "platform/macos/native/runtime/end_of_test.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/macos/native/runtime/autorelease.h"
#include "platform/macos/native/runtime/objects.h"

namespace korvel::objc {

namespace {

std::vector<std::function<void()>>& forgetters() {
    static auto& all = *new std::vector<std::function<void()>>;
    return all;
}

class EndOfTest final : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override {
        before_ = liveObjects();
        pool_ = pushPool();
    }

    void OnTestEnd(const testing::TestInfo&) override {
        for (const auto& forget : forgetters()) {
            forget();
        }
        popPool(pool_);
        for (const auto& [kind, count] : liveObjects()) {
            if (count > before_[kind]) {
                ADD_FAILURE() << "left alive: " << count - before_[kind] << " of " << kind;
            }
        }
    }

    void* pool_ = nullptr;
    std::map<std::string, std::size_t> before_;
};

const bool kListens = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new EndOfTest);
    return true;
}();

} // namespace

void atEndOfTest(std::function<void()> forget) {
    forgetters().push_back(std::move(forget));
}

} // namespace korvel::objc
