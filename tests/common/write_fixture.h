// The store the write tests work on: points of every kind a write treats
// differently, an Operator as the caller, the writes, and read-backs of
// what a write left in the store (value, property and recorded writer).

#ifndef TESTS_COMMON_WRITE_FIXTURE_H_
#define TESTS_COMMON_WRITE_FIXTURE_H_

#include <sqlite3.h>

#include <string>
#include <vector>

#include "common/write_path.h"
#include "platform/element.h"
#include "tests/common/service_fixture.h"

namespace wsgated {

using Texts = std::vector<std::string>;

class WriteTest : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    Seed("[/Devices/M/Volts]\n"
         "ValueType = Real\nValue = 230.5\nWritable = true\nUnits = V\n"
         ".HighAlarmLimit = 250\n"
         "[/Devices/M/Count]\n"
         "ValueType = Integer\nValue = 3\nWritable = true\n"
         "[/Devices/M/Locked]\n"
         "ValueType = Real\nValue = 1.5\nWritable = false\n"
         "[/Devices/M/Mode]\n"
         "ValueType = Multistate\nPossibleValues = Off;On;5=Auto\n"
         "Value = 0\nWritable = true\n"
         "[/Devices/M/Breaker]\n"
         "ValueType = Boolean\nPossibleValues = Open;Closed\n"
         "Value = false\nWritable = true\n"
         "[/Devices/M/NoFlag]\nValueType = Real\nValue = 2.5\n"
         "[/Devices/M/Flag]\n"
         "ValueType = Boolean\nValue = false\nWritable = true\n"
         "[/Devices/M/Kind]\n"
         "ValueType = Integer\nValue = 7\n.AlarmOnValue = 3\n"
         "[/Devices/M/Note]\nValueType = String\nValue = x\n"
         "[/Devices/M/Tap]\n"
         "ValueType = Multistate\nPossibleValues = -1=Down;Neutral;Up\n"
         "Value:Unsigned = 1\nWritable = true\n"
         "[/Devices/M/Speed]\n"
         "ValueType = Multistate\nPossibleValues = Low;Medium;High\n"
         "WritableValues = Low;Medium\nValue = 0\nWritable = true\n"
         "[/Devices/New]\nNodeType = Point\n");
    SetCaller("operator", "10.0.0.7");
  }

  // setValue (SetLeaf with `admin`) of `value` to `path`.
  std::string Write(const std::string& path, const std::string& value,
                    const std::string& options = "", bool admin = false) {
    std::string result;
    EXPECT_EQ(0, writeValue(ctx_.get(), admin, Options(options), &path,
                            &value, result));
    return result;
  }
  // setValues (SetLeaves with `admin`), which answers `count` results.
  Texts WriteMany(const Texts& paths, const Texts& values,
                  const std::string& options = "", bool admin = false,
                  size_t count = 0) {
    Texts results;
    EXPECT_EQ(0, writeValues(ctx_.get(), admin, Options(options), paths,
                             values, results));
    EXPECT_EQ(count ? count : paths.size(), results.size());
    return results;
  }
  // The same as an Administrator.
  std::string AdminWrite(const std::string& path, const std::string& value) {
    SetCaller("admin", "10.0.0.1");
    return Write(path, value, "", true);
  }
  Texts AdminWriteMany(const Texts& paths, const Texts& values) {
    SetCaller("admin", "10.0.0.1");
    return WriteMany(paths, values, "", true);
  }

  // Who the store recorded as the last writer of a leaf ("" when none).
  // The client API has no call for it, so this reads the store file.
  std::string Writer(const std::string& node, const std::string& attribute) {
    sqlite3* db = nullptr;
    std::string writer;
    if (sqlite3_open_v2((dir_ + "/cds.db").c_str(), &db, SQLITE_OPEN_READONLY,
                        nullptr) == SQLITE_OK) {
      sqlite3_stmt* stmt = nullptr;
      if (sqlite3_prepare_v2(db,
                             "SELECT writer FROM leaf WHERE path = ?1 "
                             "AND attr = ?2",
                             -1, &stmt, nullptr) == SQLITE_OK) {
        sqlite3_bind_text(stmt, 1, node.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(stmt, 2, attribute.c_str(), -1, SQLITE_TRANSIENT);
        if (sqlite3_step(stmt) == SQLITE_ROW && sqlite3_column_text(stmt, 0)) {
          writer = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0));
        }
      }
      sqlite3_finalize(stmt);
    }
    sqlite3_close(db);
    return writer;
  }
};

}  // namespace wsgated

#endif  // TESTS_COMMON_WRITE_FIXTURE_H_
