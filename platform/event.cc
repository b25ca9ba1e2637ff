// CEvent: defaults, the change-source text and the single-line text form.
//
// The text form is what the store's event queue holds, so it must survive
// any content (descriptions and notes come from operators) and must be
// refused whole when damaged: a truncated or edited line is never half read.
// Each field is "key=value"; fields are separated by tabs; in values a tab,
// newline, carriage return and backslash are written "\t", "\n", "\r" and
// "\\". The first field names the format version. Every field is required,
// unknown keys are skipped so that a newer writer can add fields.

#include "platform/event.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <map>
#include <stdexcept>

namespace toolkit {

namespace {

constexpr const char* kVersionField = "ev=1";

// ---- writing --------------------------------------------------------------

void AppendEscaped(std::string& out, const std::string& text) {
  for (char c : text) {
    switch (c) {
      case '\\': out += "\\\\"; break;
      case '\t': out += "\\t"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      default: out += c;
    }
  }
}

void AddField(std::string& out, const char* key, const std::string& value) {
  out += '\t';
  out += key;
  out += '=';
  AppendEscaped(out, value);
}

std::string TimeText(const timeval& tv) {
  char buf[48];
  snprintf(buf, sizeof(buf), "%lld.%06ld", static_cast<long long>(tv.tv_sec),
           static_cast<long>(tv.tv_usec));
  return buf;
}

// The value in a form that reads back exactly, whatever its type.
std::string ValueText(const CElement& value) {
  char buf[64];
  switch (value.get_type()) {
    case PCD_TYPE_BOOL: return value.to_bool() ? "1" : "0";
    case PCD_TYPE_REAL:
      snprintf(buf, sizeof(buf), "%.17g", value.to_double());
      return buf;
    case PCD_TYPE_TIMEVAL: return TimeText(value.to_timeval());
    case PCD_TYPE_NONE: return "";
    default: return value.to_string();  // integers and text
  }
}

// ---- reading --------------------------------------------------------------

bool Unescape(const std::string& in, std::string& out) {
  out.clear();
  for (size_t i = 0; i < in.size(); ++i) {
    char c = in[i];
    if (c == '\n' || c == '\r') return false;  // the form is a single line
    if (c != '\\') {
      out += c;
      continue;
    }
    if (++i == in.size()) return false;
    switch (in[i]) {
      case '\\': out += '\\'; break;
      case 't': out += '\t'; break;
      case 'n': out += '\n'; break;
      case 'r': out += '\r'; break;
      default: return false;
    }
  }
  return true;
}

// Decimal integer in [min, max], the whole text and nothing else.
bool ParseSigned(const std::string& text, long long min, long long max,
                 long long& out) {
  if (text.empty() || isspace(static_cast<unsigned char>(text[0]))) {
    return false;
  }
  errno = 0;
  char* end = nullptr;
  long long v = strtoll(text.c_str(), &end, 10);
  if (errno != 0 || *end != '\0' || v < min || v > max) return false;
  out = v;
  return true;
}

bool ParseU64(const std::string& text, uint64_t& out) {
  if (text.empty() || !isdigit(static_cast<unsigned char>(text[0]))) {
    return false;
  }
  errno = 0;
  char* end = nullptr;
  unsigned long long v = strtoull(text.c_str(), &end, 10);
  if (errno != 0 || *end != '\0') return false;
  out = v;
  return true;
}

// "<seconds>.<6 digits>", seconds signed.
bool ParseTime(const std::string& text, timeval& out) {
  size_t dot = text.find('.');
  if (dot == std::string::npos || text.size() - dot != 7) return false;
  long long sec, usec;
  std::string frac = text.substr(dot + 1);
  if (!isdigit(static_cast<unsigned char>(frac[0]))) return false;
  if (!ParseSigned(text.substr(0, dot), INT64_MIN, INT64_MAX, sec) ||
      !ParseSigned(frac, 0, 999999, usec)) {
    return false;
  }
  out.tv_sec = static_cast<time_t>(sec);
  out.tv_usec = static_cast<suseconds_t>(usec);
  return true;
}

bool ParseBool(const std::string& text, bool& out) {
  if (text != "0" && text != "1") return false;
  out = text == "1";
  return true;
}

bool ParseValue(int type, const std::string& text, CElement& out) {
  long long n;
  switch (type) {
    case PCD_TYPE_NONE:
      if (!text.empty()) return false;
      out.clear();
      return true;
    case PCD_TYPE_BOOL: {
      bool b;
      if (!ParseBool(text, b)) return false;
      out.set_bool(b);
      return true;
    }
    case PCD_TYPE_INT:
      if (!ParseSigned(text, INT32_MIN, INT32_MAX, n)) return false;
      out.set_int(static_cast<int32_t>(n));
      return true;
    case PCD_TYPE_UINT:
      if (!ParseSigned(text, 0, UINT32_MAX, n)) return false;
      out.set_uint(static_cast<uint32_t>(n));
      return true;
    case PCD_TYPE_REAL: {
      if (text.empty() || isspace(static_cast<unsigned char>(text[0]))) {
        return false;
      }
      char* end = nullptr;
      double d = strtod(text.c_str(), &end);
      if (*end != '\0') return false;
      out.set_real(d);
      return true;
    }
    case PCD_TYPE_STRING:
      out.set_string(text);
      return true;
    case PCD_TYPE_TIMEVAL: {
      timeval tv;
      if (!ParseTime(text, tv)) return false;
      out.set_timeval(tv);
      return true;
    }
    default:
      return false;
  }
}

// Splits the line into unescaped key/value pairs. Fails on a field without
// "=", a bad escape, or a key given twice.
bool SplitFields(const std::string& text,
                 std::map<std::string, std::string>& fields) {
  size_t start = 0;
  while (start <= text.size()) {
    size_t tab = text.find('\t', start);
    if (tab == std::string::npos) tab = text.size();
    std::string field = text.substr(start, tab - start);
    size_t eq = field.find('=');
    if (eq == std::string::npos || eq == 0) return false;
    std::string value;
    if (!Unescape(field.substr(eq + 1), value)) return false;
    if (!fields.emplace(field.substr(0, eq), value).second) return false;
    start = tab + 1;
  }
  return true;
}

// Reads typed fields by key; the first missing or malformed one clears
// `ok`, and later calls do nothing.
class FieldReader {
 public:
  explicit FieldReader(const std::map<std::string, std::string>& fields)
      : fields_(fields) {}
  bool ok = true;

  void Text(const char* key, std::string& out) {
    const std::string* v = Find(key);
    if (v) out = *v;
  }
  template <typename T>
  void Int(const char* key, T& out) {
    long long n;
    const std::string* v = Find(key);
    if (v && Check(ParseSigned(*v, std::numeric_limits<T>::min(),
                               std::numeric_limits<T>::max(), n))) {
      out = static_cast<T>(n);
    }
  }
  template <typename T>
  void Unsigned(const char* key, T& out) {
    long long n;
    const std::string* v = Find(key);
    if (v && Check(ParseSigned(*v, 0, std::numeric_limits<T>::max(), n))) {
      out = static_cast<T>(n);
    }
  }
  void U64(const char* key, uint64_t& out) {
    const std::string* v = Find(key);
    if (v) Check(ParseU64(*v, out));
  }
  void Bool(const char* key, bool& out) {
    const std::string* v = Find(key);
    if (v) Check(ParseBool(*v, out));
  }
  void Time(const char* key, timeval& out) {
    const std::string* v = Find(key);
    if (v) Check(ParseTime(*v, out));
  }
  void Value(const char* key, int type, CElement& out) {
    const std::string* v = Find(key);
    if (v) Check(ParseValue(type, *v, out));
  }

 private:
  const std::string* Find(const char* key) {
    if (!ok) return nullptr;
    auto it = fields_.find(key);
    if (it == fields_.end()) ok = false;
    return ok ? &it->second : nullptr;
  }
  bool Check(bool good) {
    ok = ok && good;
    return ok;
  }
  const std::map<std::string, std::string>& fields_;
};

}  // namespace

CEvent::CEvent()
    : kind(0),
      severity(0),
      event_id(0),
      sequence_index(0),
      time(CElement::_invalid_time),
      quality(192),
      ack_status(0),
      base_priority(0),
      condition_present(false),
      auto_closing(false),
      variation_level(0),
      queue_id(0) {}

void CEvent::format_source_string(std::string& source, const char* origin,
                                  const char* user, const char* address) {
  if (user == nullptr) {
    throw std::invalid_argument("format_source_string: no user");
  }
  if (address == nullptr) {
    throw std::invalid_argument("format_source_string: no address");
  }
  source = (origin && *origin) ? origin : "unknown";
  source += ':';
  source += user;
  source += '@';
  source += address;
}

bool CEvent::parse_source_string(const std::string& source,
                                 std::string& origin, std::string& user,
                                 std::string& address) {
  origin.clear();
  user.clear();
  address.clear();
  const size_t colon = source.find(':');
  const size_t at = source.rfind('@');
  if (colon == std::string::npos || at == std::string::npos || at < colon) {
    return false;
  }
  origin = source.substr(0, colon);
  user = source.substr(colon + 1, at - colon - 1);
  address = source.substr(at + 1);
  return true;
}

std::string CEvent::serialize() const {
  std::string out = kVersionField;
  AddField(out, "kind", std::to_string(kind));
  AddField(out, "path", source_path);
  AddField(out, "vtype", std::to_string(static_cast<int>(value.get_type())));
  AddField(out, "value", ValueText(value));
  AddField(out, "vtime", TimeText(value.get_time()));
  AddField(out, "severity", std::to_string(severity));
  AddField(out, "desc", description);
  AddField(out, "id", std::to_string(event_id));
  AddField(out, "seq", std::to_string(sequence_index));
  AddField(out, "time", TimeText(time));
  AddField(out, "quality", std::to_string(quality));
  AddField(out, "ack", std::to_string(ack_status));
  AddField(out, "prio", std::to_string(base_priority));
  AddField(out, "cond", condition_present ? "1" : "0");
  AddField(out, "note", note);
  AddField(out, "autoclose", auto_closing ? "1" : "0");
  AddField(out, "var", std::to_string(variation_level));
  AddField(out, "source", source);
  AddField(out, "qid", std::to_string(queue_id));
  return out;
}

bool CEvent::deserialize(const std::string& text) {
  std::map<std::string, std::string> fields;
  if (!SplitFields(text, fields)) return false;
  FieldReader r(fields);
  std::string version;
  r.Text("ev", version);
  if (!r.ok || version != "1") return false;

  CEvent e;
  int32_t vtype = 0;
  timeval vtime = CElement::_invalid_time;
  r.Int("kind", e.kind);
  r.Text("path", e.source_path);
  r.Int("vtype", vtype);
  r.Value("value", vtype, e.value);
  r.Time("vtime", vtime);
  r.Int("severity", e.severity);
  r.Text("desc", e.description);
  r.U64("id", e.event_id);
  r.Unsigned("seq", e.sequence_index);
  r.Time("time", e.time);
  r.Unsigned("quality", e.quality);
  r.Int("ack", e.ack_status);
  r.Int("prio", e.base_priority);
  r.Bool("cond", e.condition_present);
  r.Text("note", e.note);
  r.Bool("autoclose", e.auto_closing);
  r.Int("var", e.variation_level);
  r.Text("source", e.source);
  r.Int("qid", e.queue_id);
  if (!r.ok) return false;
  e.value.set_time(vtime);
  *this = e;
  return true;
}

}  // namespace toolkit
