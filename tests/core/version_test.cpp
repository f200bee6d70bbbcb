#include <string.h>

#include "gtest/gtest.h"
#include "zeldc.h"

TEST(Version, RecordNamesTheLibrary) {
  const zelLibraryVersion* const version = zeldcGetLibVersion();
  ASSERT_NE(version, nullptr);
  EXPECT_EQ(version->major, 6);
  EXPECT_EQ(version->minor, 1);
  EXPECT_EQ(version->majorBuild, 137);
  EXPECT_EQ(version->build, 718);
  EXPECT_EQ(memcmp(version->targetCpu, "s8\0\0", 4), 0);
  EXPECT_STREQ(version->name, "zeldcs8-6.1.dll");
  EXPECT_STREQ(version->version, "6.1 build 137.20");
  EXPECT_STREQ(version->buildDate, "Jun 10 2009");
}

TEST(Version, AddressIsTheSameAtEveryCall) { EXPECT_EQ(zeldcGetLibVersion(), zeldcGetLibVersion()); }

TEST(Status, CodesHaveTheirPublishedValues) {
  EXPECT_EQ(zelOk, 0);
  EXPECT_EQ(zelErr, -2);
  EXPECT_EQ(zelErrBadArg, -5);
  EXPECT_EQ(zelErrSize, -6);
  EXPECT_EQ(zelErrNullPtr, -8);
  EXPECT_EQ(zelErrNoMem, -9);
  EXPECT_EQ(zelErrVlcInput, -127);
  EXPECT_EQ(zelErrVlcTable, -129);
  EXPECT_EQ(zelErrHuffFreq, -197);
  EXPECT_EQ(zelErrHuffLenTable, -198);
  EXPECT_EQ(zelErrHuffCodeLen, -199);
  EXPECT_EQ(zelErrBadData, -200);
  EXPECT_EQ(zelErrLzoBroken, -214);
  EXPECT_EQ(zelWarnSrcShort, 32);
  EXPECT_EQ(zelWarnDstFull, 33);
  EXPECT_EQ(zelWarnStreamEnd, 34);
}
