// The input guard: what it counts as attributes and namespace declarations
// on the way to the engine, and that it stops a message at the limit
// however the message is cut into reads.

#include "host/input_guard.h"

#include <gtest/gtest.h>

#include <string>

namespace wsgated {

namespace {

// Feeds `message` in reads of `chunk` bytes; returns the bytes admitted.
size_t Feed(InputGuard& guard, const std::string& message, size_t chunk) {
  size_t admitted = 0;
  for (size_t at = 0; at < message.size(); at += chunk) {
    const size_t part = std::min(chunk, message.size() - at);
    const size_t passed = guard.admit(message.data() + at, part);
    admitted += passed;
    if (passed < part) break;
  }
  return admitted;
}

std::string Attributes(int count, const char* name = "a") {
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += std::string(" ") + name + std::to_string(i) + "='x>y'";
  }
  return text;
}

TEST(InputGuard, CountsAttributesOfStartTagsOnly) {
  struct Case {
    const char* what;
    std::string message;
    long long attributes;
  };
  const Case cases[] = {
      {"start and empty tags", "<a x='1' y=\"2\"><b z='3'/></a>", 3},
      {"values with markup", "<a x='<b c=\"d\">' y='/>'/>", 2},
      {"comments and instructions",
       "<?xml version='1.0'?><!-- <a x='1'> --><a/><!DOCTYPE d>", 0},
      {"CDATA", "<a><![CDATA[<b x='1'>]]></a>", 0},
      {"end tags and text", "<a>x='1' y</a  >", 0},
  };
  for (const Case& c : cases) {
    for (size_t chunk : {size_t{1}, size_t{3}, size_t{4096}}) {
      InputGuard guard;
      EXPECT_EQ(c.message.size(), Feed(guard, c.message, chunk)) << c.what;
      EXPECT_EQ(c.attributes, guard.attributesAdmitted()) << c.what;
      EXPECT_FALSE(guard.refused()) << c.what;
    }
  }
}

TEST(InputGuard, StopsAtTheLimitAndAdmitsNothingAfter) {
  // 100,000 attributes on one element: the engine must see 32 at most.
  const std::string huge = "<e:Envelope" + Attributes(100000) + ">";
  for (size_t chunk : {size_t{1}, size_t{7}, size_t{65536}}) {
    InputGuard guard;
    const size_t admitted = Feed(guard, huge, chunk);
    EXPECT_TRUE(guard.refused());
    EXPECT_EQ(32, guard.attributesAdmitted());
    EXPECT_LT(admitted, 32u * 16);
    EXPECT_EQ(0u, guard.admit("<a/>", 4));
    EXPECT_EQ("an element has more than 32 attributes", guard.refusal());
  }
  const std::string limit = "<e" + Attributes(32) + ">";
  InputGuard fresh;
  EXPECT_EQ(limit.size(), Feed(fresh, limit, 5));
  EXPECT_FALSE(fresh.refused());
}

TEST(InputGuard, CountsNamespaceDeclarationsOfTheWholeMessage) {
  std::string message;
  for (int i = 0; i < 16; ++i) {
    message += "<e" + Attributes(16, "xmlns:p") + ">";
  }
  InputGuard guard;
  Feed(guard, message, 100);
  EXPECT_FALSE(guard.refused());  // 256 declarations: the limit itself
  InputGuard over;
  Feed(over, message + "<f xmlns='urn:x'>", 100);
  EXPECT_EQ("the message declares more than 256 namespaces", over.refusal());
}

}  // namespace

}  // namespace wsgated
