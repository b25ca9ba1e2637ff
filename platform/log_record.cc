// One CEvent as one row of a log's record table (see log_format.h).

#include "platform/cds_store.h"
#include "platform/log_format.h"
#include "platform/qrxtime.h"

namespace toolkit {
namespace logdb {

namespace {

// Column (and insert parameter) numbers; they follow
// TOOLKIT_LOG_RECORD_COLUMNS.
enum RecordColumn : int {
  kId = 0,
  kTime,
  kSeq,
  kPath,
  kKind,
  kAlarmId,
  kValue,  // four columns: vtype, value, vsec, vusec
  kSeverity = kValue + 4,
  kQuality,
  kDescription,
  kAck,
  kPriority,
  kCond,
  kNote,
  kAutoClosing,
  kVariation,
  kSource,
};

void bind_text(sqlite3_stmt* stmt, int index, const std::string& text) {
  sqlite3_bind_text(stmt, index, text.data(), static_cast<int>(text.size()),
                    SQLITE_TRANSIENT);
}

std::string column_text(sqlite3_stmt* stmt, int column) {
  const unsigned char* text = sqlite3_column_text(stmt, column);
  return text == nullptr ? std::string()
                         : std::string(reinterpret_cast<const char*>(text),
                                       sqlite3_column_bytes(stmt, column));
}

}  // namespace

const char* const kInsertRecord =
    "INSERT INTO record(time_us, seq, path, kind, alarm_id, vtype, value, "
    "vsec, vusec, severity, quality, description, ack, priority, cond, note, "
    "auto_closing, variation, source) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, "
    "?9, ?10, ?11, ?12, ?13, ?14, ?15, ?16, ?17, ?18, ?19)";

void bind_record(sqlite3_stmt* stmt, const CEvent& event) {
  sqlite3_bind_int64(stmt, kTime, qrx_UNIXtoQRXtime64(&event.time));
  sqlite3_bind_int64(stmt, kSeq, event.sequence_index);
  bind_text(stmt, kPath, event.source_path);
  sqlite3_bind_int(stmt, kKind, event.kind);
  // Only alarms bring their own number; the others are numbered by `id`.
  if (event.kind == EVENT_KIND_ALARM) {
    sqlite3_bind_int64(stmt, kAlarmId,
                       static_cast<sqlite3_int64>(event.event_id));
  } else {
    sqlite3_bind_null(stmt, kAlarmId);
  }
  store::bind_element(stmt, kValue, event.value, event.value.get_time());
  sqlite3_bind_int(stmt, kSeverity, event.severity);
  sqlite3_bind_int(stmt, kQuality, event.quality);
  bind_text(stmt, kDescription, event.description);
  sqlite3_bind_int(stmt, kAck, event.ack_status);
  sqlite3_bind_int(stmt, kPriority, event.base_priority);
  sqlite3_bind_int(stmt, kCond, event.condition_present ? 1 : 0);
  bind_text(stmt, kNote, event.note);
  sqlite3_bind_int(stmt, kAutoClosing, event.auto_closing ? 1 : 0);
  sqlite3_bind_int(stmt, kVariation, event.variation_level);
  bind_text(stmt, kSource, event.source);
}

void column_record(sqlite3_stmt* stmt, CEvent& event) {
  qrx_QRXtoUNIXtime64(sqlite3_column_int64(stmt, kTime), &event.time);
  event.sequence_index =
      static_cast<uint32_t>(sqlite3_column_int64(stmt, kSeq));
  event.source_path = column_text(stmt, kPath);
  event.kind = sqlite3_column_int(stmt, kKind);
  const int id_column =
      sqlite3_column_type(stmt, kAlarmId) == SQLITE_NULL ? kId : kAlarmId;
  event.event_id = static_cast<uint64_t>(sqlite3_column_int64(stmt, id_column));
  store::column_element(stmt, kValue, event.value);
  event.severity = sqlite3_column_int(stmt, kSeverity);
  event.quality = static_cast<uint16_t>(sqlite3_column_int(stmt, kQuality));
  event.description = column_text(stmt, kDescription);
  event.ack_status = sqlite3_column_int(stmt, kAck);
  event.base_priority = sqlite3_column_int(stmt, kPriority);
  event.condition_present = sqlite3_column_int(stmt, kCond) != 0;
  event.note = column_text(stmt, kNote);
  event.auto_closing = sqlite3_column_int(stmt, kAutoClosing) != 0;
  event.variation_level = sqlite3_column_int(stmt, kVariation);
  event.source = column_text(stmt, kSource);
}

}  // namespace logdb
}  // namespace toolkit
