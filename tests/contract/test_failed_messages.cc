// A message that fails midway through a repeated element leaves nothing
// allocated once the request is over: the items read so far are destroyed
// with the blocks that held them (tracked_blocks.h). Counted as C++
// allocations still live after the request, which must be none.

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <sstream>
#include <string>

#include "contract/tracked_blocks.h"
#include "soapH.h"

namespace {

long long g_live = 0;  // operator new minus operator delete

}  // namespace

// Every form of the plain operators, so that whatever allocates (the
// engine uses the nothrow forms) is counted and freed alike.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block != nullptr) ++g_live;
  return block;
}
void* operator new(std::size_t size) {
  void* block = operator new(size, std::nothrow);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return operator new(size, std::nothrow);
}
void operator delete(void* block) noexcept {
  if (block == nullptr) return;
  --g_live;
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  operator delete(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
  operator delete(block);
}
void operator delete[](void* block) noexcept { operator delete(block); }
void operator delete[](void* block, std::size_t) noexcept {
  operator delete(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
  operator delete(block);
}

namespace {

const char kC1[] = "http://www.wsgated.example/BACnetWSKestrel";
// Longer than any string the library keeps without an allocation of its own.
const std::string kLongPath = "/Devices/Meter1/SomeRatherLongPointName/Value";

std::string Items(const char* tag, int count) {
  std::string items;
  for (int i = 0; i < count; ++i) {
    items += std::string("<c:") + tag + ">" + kLongPath + "</c:" + tag + ">";
  }
  return items;
}

// Reads `body` as a setValues request with an engine whose repeated
// elements may hold 100 items, then ends the request as the daemon does.
// Returns the engine's error and how many allocations outlived it.
long long LiveAfterFailedRead(const std::string& body, int* error) {
  struct soap* soap = soap_new();
  soap->maxoccurs = 100;
  std::istringstream in(std::string("<c:setValues xmlns:c=\"") + kC1 + "\">" +
                        body + "</c:setValues>");
  soap->is = &in;
  const long long before = g_live;
  _nsc1__setValues request;
  *error = soap_read__nsc1__setValues(soap, &request);
  soap->is = nullptr;
  wsgated::endAbandonedBlocks(soap);
  soap_destroy(soap);
  soap_end(soap);
  const long long live = g_live - before;
  soap_free(soap);
  return live;
}

TEST(FailedMessages, LeaveNoItemsBehind) {
  struct Case {
    const char* what;
    std::string body;
  };
  const Case cases[] = {
      {"one item too many", Items("paths", 101)},
      {"too many after another list", Items("values", 3) + Items("paths", 150)},
      {"a message cut off midway", Items("paths", 50) + "<c:paths>/x"},
      {"a bad element midway", Items("values", 10) + "<c:options><x/>"},
  };
  for (const Case& c : cases) {
    int error = SOAP_OK;
    EXPECT_EQ(0, LiveAfterFailedRead(c.body, &error)) << c.what;
    EXPECT_NE(SOAP_OK, error) << c.what;
  }
  int error = SOAP_FAULT;
  EXPECT_EQ(0, LiveAfterFailedRead(Items("paths", 100), &error));
  EXPECT_EQ(SOAP_OK, error);  // the limit itself is accepted
}

}  // namespace
