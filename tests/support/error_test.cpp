// Failures: the sentence, what is cut off, and the reasons behind error numbers.
#include <cerrno>
#include <string>

#include <gtest/gtest.h>

#include "kalvora/support/failure.h"

namespace {

TEST(Failure, SaysWhatAndWhy) {
  KError error;
  EXPECT_FALSE(kalvora::Fail(error, KErrorPermission, EACCES, "cannot open %s", "/dev/fb0"));
  EXPECT_EQ(error.code, KErrorPermission);
  EXPECT_EQ(error.systemError, EACCES);
  EXPECT_STREQ(error.text, "cannot open /dev/fb0: Permission denied");
  kalvora::Fail(error, KErrorRows, 0, "short");
  EXPECT_STREQ(error.text, "short");
  const std::string path(500, 'x');
  for (const std::size_t length : {sizeof error.text - 3, path.size()}) {
    kalvora::Fail(error, KErrorFile, ENOENT, "%s", path.substr(0, length).c_str());
    EXPECT_EQ(std::string(error.text).size(), sizeof error.text - 1);
  }
  EXPECT_EQ(kalvora::ReasonOf(ENXIO, KErrorDevice), KErrorNoDevice);
  EXPECT_EQ(kalvora::ReasonOf(EPERM, KErrorFile), KErrorPermission);
  EXPECT_EQ(kalvora::ReasonOf(EIO, KErrorFile), KErrorFile);
}

}  // namespace
