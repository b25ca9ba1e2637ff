// The common start of the waveform operations; see waveform_record.h.

#include "waveforms/waveform_record.h"

#include <climits>

#include "common/bnws_error.h"
#include "common/log.h"
#include "common/service_context.h"
#include "platform/comtrade/comtrade_view.h"
#include "platform/qrxtime.h"

namespace wsgated {

bool openWaveformRecord(ServiceContext* context, const ServiceOptions& options,
                        const std::string* url, ComtradeHandle& handle,
                        std::string& result) {
  const std::string given = url != nullptr ? *url : std::string();
  if (toolkit::CComtradeView::parseUrlToFilepath(given, context->waveFolder,
                                                 handle.path) != 0) {
    logInfo(kLogErrors, "Cannot parse URL %s", given.c_str());
    setBnwsError(kBnwsArgumentInvalid, "Cannot parse URL", result, &options);
    return false;
  }
  if (comtrade_read_all_files(handle.get(), handle.path.c_str()) !=
      COMTRADE_OK) {
    logInfo(kLogErrors, "Failed to parse COMTRADE data at %s",
            handle.path.c_str());
    // Why, for whoever reads the log: a truncated data file, a FIFO...
    logInfo(kLogErrors, "COMTRADE reader: %s",
            comtrade_last_error(handle.get()));
    setBnwsError(kBnwsNoDataAvailable, "Failed to parse COMTRADE data", result,
                 &options);
    return false;
  }
  return true;
}

int64_t waveformDeviceTime(const timeval& time) {
  return qrx_UNIXtoQRXtime64(&time);
}

int waveformIndex(int64_t index) {
  if (index > INT_MAX) return INT_MAX;
  return index < -1 ? -1 : static_cast<int>(index);
}

}  // namespace wsgated
