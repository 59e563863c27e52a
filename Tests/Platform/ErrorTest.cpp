#include "Platform/Error.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <stdexcept>

namespace pellaro {
namespace {

TEST(Error, CarriesTheSystemsDescriptionOfAnErrorNumber) {
    for (const int number : {ENOENT, EACCES, ENOSPC, EROFS}) {
        const PlatformError error = posixError(number);
        EXPECT_EQ(error.domain(), posixErrorDomain);
        EXPECT_EQ(error.code(), number);
        EXPECT_EQ(error.localizedDescription(), std::strerror(number));
        EXPECT_STREQ(error.what(), std::strerror(number));
    }
}

TEST(Error, IsEqualInDomainCodeAndDescription) {
    const PlatformError error("Domain", 1, "text");
    EXPECT_EQ(error, PlatformError("Domain", 1, "text"));
    EXPECT_FALSE(error == PlatformError("Other", 1, "text"));
    EXPECT_FALSE(error == PlatformError("Domain", 2, "text"));
    EXPECT_FALSE(error == PlatformError("Domain", 1, "other"));
}

TEST(Error, ShowsItsDescriptionThroughAnyException) {
    const PlatformError ours("Domain", 1, "Die Datei fehlt.");
    EXPECT_EQ(localizedDescription(static_cast<const std::exception &>(ours)), "Die Datei fehlt.");
    EXPECT_EQ(localizedDescription(std::runtime_error("of others")), "of others");
}

} // namespace
} // namespace pellaro
