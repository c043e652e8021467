#include "base/result.h"

#include <memory>
#include <string>
#include <system_error>

#include <gtest/gtest.h>

namespace korvel {
namespace {

enum class Fault { missing, tooLong };

TEST(Result, HoldsAValueOrAnError) {
    const Result<std::string, Fault> value = std::string("text");
    ASSERT_TRUE(value);
    EXPECT_EQ(*value, "text");
    EXPECT_EQ(value->size(), 4U);

    const Result<std::string, Fault> error = Error{Fault::tooLong, "/a/path", "300"};
    ASSERT_FALSE(error);
    EXPECT_EQ(error.error().code, Fault::tooLong);
    EXPECT_EQ(error.error().subject, "/a/path");
    EXPECT_EQ(error.error().detail, "300");
    EXPECT_EQ(Error{Fault::missing}, (Error{Fault::missing, "", ""}));
}

TEST(Result, IsTheSameOnlyWithTheSameContent) {
    using Number = Result<int, Fault>;
    EXPECT_EQ(Number(1), Number(1));
    EXPECT_NE(Number(1), Number(2));
    EXPECT_EQ(Number(Error{Fault::missing, "a"}), Number(Error{Fault::missing, "a"}));
    EXPECT_NE(Number(Error{Fault::missing, "a"}), Number(Error{Fault::missing, "b"}));
    EXPECT_NE(Number(Error{Fault::missing, "a"}), Number(Error{Fault::tooLong, "a"}));
    EXPECT_NE(Number(Error{Fault::missing, "a", "1"}), Number(Error{Fault::missing, "a", "2"}));
    EXPECT_NE(Number(0), Number(Error{Fault::missing}));
}

TEST(Result, AValueThatCannotBeCopiedIsTakenOut) {
    Result<std::unique_ptr<int>, Fault> result = std::make_unique<int>(7);
    const std::unique_ptr<int> taken = *std::move(result);
    EXPECT_EQ(*taken, 7);
}

TEST(Status, IsDoneUnlessThereIsAnError) {
    const Status<std::errc> done;
    EXPECT_TRUE(done);
    const Status<std::errc> failed = Error{std::errc::permission_denied, "/a/path"};
    EXPECT_FALSE(failed);
    EXPECT_EQ(failed.error(), (Error{std::errc::permission_denied, "/a/path"}));
    EXPECT_NE(done, failed);
    EXPECT_EQ(done, Status<std::errc>());
}

} // namespace
} // namespace korvel
