// A date or timestamp: text by the table's model on one side, a field of text by the record's model on the other.
#include <algorithm>
#include <cstring>

#include "status.h"
#include "text_codec.h"

namespace record_exchange {
namespace {

wchar_t fold(wchar_t c) { return c >= L'a' && c <= L'z' ? c - L'a' + L'A' : c; }

bool equal_but_for_case(std::wstring_view a, std::wstring_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](wchar_t x, wchar_t y) { return fold(x) == fold(y); });
}

class DateCodec final : public TextCodec {
 public:
  DateCodec(const Field& field, CodePage page)
      : TextCodec(field, page),
        in_record_(descriptor(page, field.date->format())),
        in_table_(descriptor({0, '\0'}, field.table_date->format())) {}

  Status encode(const Cell& cell, char* bytes) override {
    if (cell.kind != Cell::Kind::text) return rx_not_in_model;
    Status status = to_wide(cell, wide());
    if (status != ZVRT_RC_OK) return status;
    ZVRTTS moment{};
    status = read(in_table_, in_record_, moment);
    if (status != ZVRT_RC_OK) return status;
    std::uint32_t written = 0;
    return ZVRTCnvZVRTTSToChar(&moment, nullptr, bytes, length(), &written, &in_record_);
  }

  Status decode(const char* bytes, Cell& cell, std::string& text) override {
    Status status = read_text(bytes, length(), page(), wide());
    if (status != ZVRT_RC_OK) return status;
    ZVRTTS moment{};
    status = read(in_record_, in_table_, moment);
    if (status != ZVRT_RC_OK) return status;
    text.resize(text_room(in_table_));
    std::uint32_t written = 0;
    status = ZVRTCnvZVRTTSToVarcharSz(&moment, nullptr, text.data(), static_cast<std::int32_t>(text.size()), &written,
                                      &in_table_);
    text.resize(status == ZVRT_RC_OK ? written : 0);
    cell = Cell::of_text(text);
    return status;
  }

  // A date cut short is another date.
  bool keeps_part() const override { return false; }

  // The month's name may come back in another case.
  Status compare(const Cell& expected, const Cell& found) override {
    if (to_wide(expected, wide()) != ZVRT_RC_OK || to_wide(found, again_) != ZVRT_RC_OK) return rx_different;
    return equal_but_for_case(wide().view(), again_.view()) ? Status{ZVRT_RC_OK} : Status{rx_different};
  }

 private:
  static std::size_t text_room(const FldDef& model) {
    return static_cast<std::size_t>(model.dtFormat->modelLen) * 16 + 1;
  }

  // Parsing is lenient: it passes over what stands between elements and ignores what follows the last one. A value
  // that its own model would write differently is refused here, and so is one that the other model cannot carry.
  Status read(const FldDef& by, const FldDef& other, ZVRTTS& moment) {
    if (wide().length() == 0) return ZVRT_RC_BLANK_TEXT;
    std::uint32_t size = 0;
    Status status = ZVRTCnvDateTimeWSzToZVRTTS(wide().c_str(), nullptr, &moment, sizeof moment, &size, &by);
    if (status == ZVRT_RC_OK) status = write_wide(moment, by);
    if (status != ZVRT_RC_OK) return status;
    if (!equal_but_for_case(wide().view(), again_.view())) return rx_not_in_model;
    status = write_wide(moment, other);
    if (status != ZVRT_RC_OK) return status;
    ZVRTTS carried{};
    status = ZVRTCnvDateTimeWSzToZVRTTS(again_.c_str(), nullptr, &carried, sizeof carried, &size, &other);
    const bool same = status == ZVRT_RC_OK && std::memcmp(&carried, &moment, sizeof moment) == 0;
    return same ? Status{ZVRT_RC_OK} : Status{rx_part_lost};
  }

  Status write_wide(const ZVRTTS& moment, const FldDef& by) {
    wchar_t* const room = again_.room(text_room(by));
    std::uint32_t characters = 0;
    const Status status = ZVRTCnvZVRTTSToWVarcharSz(&moment, nullptr, room, again_.size_in_bytes(), &characters, &by);
    again_.set_length(status == ZVRT_RC_OK ? characters : 0);
    return status;
  }

  FldDef in_record_;
  FldDef in_table_;
  WideText again_;
};

}  // namespace

std::unique_ptr<FieldCodec> make_date_codec(const Field& field, CodePage page) {
  return std::make_unique<DateCodec>(field, page);
}

}  // namespace record_exchange
