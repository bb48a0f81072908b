#include "support/ordinary_calls.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <cwchar>
#include <memory>
#include <string_view>

#include "ZVRTDataCnvLib.h"

namespace zvrt_test {
namespace {

constexpr std::int32_t room = 64 * 1024;
alignas(64) std::array<std::byte, room> destination;

// A source's bytes, at an address that stays.
using Source = std::shared_ptr<const std::vector<std::byte>>;

Source bytes_of(const void* at, std::size_t size) {
  const auto* first = static_cast<const std::byte*>(at);
  return std::make_shared<const std::vector<std::byte>>(first, first + size);
}
Source narrow(std::string_view text) {
  const std::string terminated(text);
  return bytes_of(terminated.c_str(), terminated.size() + 1);
}
Source wide(std::wstring_view text) {
  const std::wstring terminated(text);
  return bytes_of(terminated.c_str(), (terminated.size() + 1) * sizeof(wchar_t));
}
Source prefixed(const Source& text, std::size_t terminator) {
  const auto size = static_cast<std::uint16_t>(text->size() - terminator);
  std::vector<std::byte> value(2 + size);
  std::memcpy(value.data(), &size, 2);
  std::memcpy(value.data() + 2, text->data(), size);
  return bytes_of(value.data(), value.size());
}
template <class Value>
Source value(const Value& number) {
  return bytes_of(&number, sizeof number);
}

// A field descriptor for a code page and, or, a format model.
class Field {
 public:
  explicit Field(std::uint32_t code_page, const wchar_t* model = L"")
      : codes_(std::make_unique<std::array<FmtCode, 64>>()) {
    DtKind kind = 0;
    ZVRTGetFormatCodes(model, codes_->data(), &kind);
    format_.model = codes_->data();
    format_.modelLen = static_cast<std::int32_t>(std::wcslen(model));
    field_.codePage = code_page;
    field_.dtFormat = &format_;
  }
  Field(const Field&) = delete;
  Field& operator=(const Field&) = delete;
  const FldDef* get() const { return &field_; }

 private:
  std::unique_ptr<std::array<FmtCode, 64>> codes_;
  DtFormatDesc format_{};
  FldDef field_{};
};

class Calls {
 public:
  // A conversion with the common arguments. Sources that carry their length have a source length of 0.
  void convert(const char* function, ZVRTConversion* conversion, const char* words, const Source& source,
               std::int32_t source_length = 0, std::int32_t room_given = room,
               const std::shared_ptr<Field>& field = nullptr) {
    add(function, words, [=] {
      std::int32_t length = source_length;
      std::uint32_t out = 0;
      return conversion(source->data(), &length, destination.data(), room_given, &out,
                        field == nullptr ? nullptr : field->get());
    });
  }
  void add(const char* function, const char* words, std::function<std::uint32_t()> call) {
    calls_.push_back({function, words, std::move(call)});
  }
  std::vector<OrdinaryCall> take() { return std::move(calls_); }

 private:
  std::vector<OrdinaryCall> calls_;
};

#define NAMED(function) #function, function

struct Sample {
  const char* words;
  const char* text;
  const wchar_t* wide;
};

constexpr Sample samples[] = {
    {"ASCII, 16 characters", "Anna Smith, 42 B", L"Anna Smith, 42 B"},
    {"French, 16 characters", "Élodie à Orléans", L"Élodie à Orléans"},
    {"Russian, 16 characters", "Екатерина Иванов", L"Екатерина Иванов"},
    {"Chinese, 16 characters", "北京市朝阳区已付款订单王伟李娜刘", L"北京市朝阳区已付款订单王伟李娜刘"},
    {"emoji, 8 characters", "😀🎉🎂🚀🐶🌍🔥🍕", L"😀🎉🎂🚀🐶🌍🔥🍕"},
    {"ASCII, 64 characters", "The invoice number 2024-118 was paid by the customer in Portland.",
     L"The invoice number 2024-118 was paid by the customer in Portland."},
};

void add_text(Calls& calls) {
  for (const Sample& sample : samples) {
    calls.convert(NAMED(ZVRTCnvVarcharSzToWVarcharSz), sample.words, narrow(sample.text));
    calls.convert(NAMED(ZVRTCnvWVarcharSzToVarcharSz), sample.words, wide(sample.wide));
  }
  const Sample& name = samples[1];
  const Source bytes = narrow(name.text);
  const Source characters = wide(name.wide);
  calls.convert(NAMED(ZVRTCnvVarcharToWVarcharSz), name.words, prefixed(bytes, 1));
  calls.convert(NAMED(ZVRTCnvCharToWVarcharSz), name.words, bytes, static_cast<std::int32_t>(bytes->size() - 1));
  calls.convert(NAMED(ZVRTCnvWCharToVarcharSz), name.words, characters,
                static_cast<std::int32_t>(characters->size() - sizeof(wchar_t)));
  calls.convert(NAMED(ZVRTCnvWVarcharToVarcharSz), name.words, prefixed(characters, sizeof(wchar_t)));
  calls.convert(NAMED(ZVRTCnvWVarcharSzToVarchar), name.words, characters);
  calls.convert(NAMED(ZVRTCnvVarcharSzToWVarchar), name.words, bytes);
  calls.convert(NAMED(ZVRTCnvWVarcharSzToWVarcharSz), name.words, characters);
  calls.convert(NAMED(ZVRTCnvVarcharSzToVarcharSz), name.words, bytes);
}

void add_trimming(Calls& calls) {
  calls.add("TrimSpaces", "code page 37, 16 bytes", [] {
    std::array<char, 17> text{"\x40\x40\x40\xC1\x95\x95\x81\x40\x40\x40\x40\x40\x40\x40\x40\x40"};
    std::int32_t length = 16;
    return TrimSpaces(text.data(), &length, 1, 1, 37, '\0');
  });
  calls.add("TrimSpacesA", "32 bytes", [] {
    std::array<char, 33> text{"   Anna Smith                   "};
    std::int32_t length = 32;
    return TrimSpacesA(text.data(), &length, 1, 1);
  });
  calls.add("InitializeCharBufferWithSpaces", "32 bytes", [field = std::make_shared<Field>(37)] {
    return InitializeCharBufferWithSpaces(destination.data(), 32, field->get());
  });
}

void add_code_pages(Calls& calls) {
  const auto ebcdic = std::make_shared<Field>(37);
  const auto shift_jis = std::make_shared<Field>(932);
  calls.convert(NAMED(ZVRTCnvVarcharSzToWVarcharSz), "code page 37, 16 characters",
                narrow("\xC1\x95\x95\x81\x40\xE2\x94\x89\xA3\x88\x6B\x40\xF4\xF2\x40\xC2"), 0, room, ebcdic);
  calls.convert(NAMED(ZVRTCnvWVarcharSzToVarcharSz), "code page 37, 16 characters", wide(samples[0].wide), 0, room,
                ebcdic);
  calls.convert(NAMED(ZVRTCnvVarcharSzToWVarcharSz), "code page 932, 8 characters",
                narrow("\x93\x8C\x8B\x9E\x93\x73\x92\x8D\x95\xB6\x93\x63\x92\x86\x89\xBF"), 0, room, shift_jis);
  calls.convert(NAMED(ZVRTCnvWVarcharSzToVarcharSz), "code page 932, 8 characters", wide(L"東京都注文田中価"), 0, room,
                shift_jis);
}

void add_integers(Calls& calls) {
  calls.convert(NAMED(ZVRTCnvLongLongToWVarcharSz), "4711", value(std::int64_t{4711}));
  calls.convert(NAMED(ZVRTCnvLongLongToWVarcharSz), "-1234567890123", value(std::int64_t{-1234567890123}));
  calls.convert(NAMED(ZVRTCnvULONGLONGToWVarcharSz), "18446744073709551615", value(UINT64_MAX));
  calls.convert(NAMED(ZVRTCnvIntToWVarcharSz1), "-12345678", value(std::int32_t{-12345678}));
  calls.convert(NAMED(ZVRTCnvSmallIntToWVarcharSz), "-1234", value(std::int16_t{-1234}));
  calls.convert(NAMED(ZVRTCnvULONGLONGToVarcharSz), "4711", value(std::uint64_t{4711}));
  calls.add("ZVRTCnvIntToVarcharSz", "-12345678", [] {
    std::array<char, 16> text;
    std::int32_t length = text.size();
    return ZVRTCnvIntToVarcharSz(-12345678, text.data(), &length, 0, '\0');
  });
  calls.add("ZVRTCnvIntToUni", "%05d of 4711", [] {
    std::array<wchar_t, 16> text;
    std::uint32_t length = 0;
    return ZVRTCnvIntToUni(text.data(), sizeof text, "%05d", 4711, &length);
  });
  calls.convert(NAMED(ZVRTCnvWVarcharSzToLongLong), "4711", wide(L"4711"));
  calls.convert(NAMED(ZVRTCnvWVarcharSzToLongLong), "-1234567890123", wide(L"-1234567890123"));
  calls.convert(NAMED(ZVRTCnvWVarcharSzToInt1), "-12345678", wide(L"-12345678"));
  calls.convert(NAMED(ZVRTCnvVarcharSzToULONGLONG), "4711", narrow("4711"));
  calls.add("ZVRTCnvVarcharSzToInt", "00004711 of a record", [] {
    std::int32_t number = 0;
    return ZVRTCnvVarcharSzToInt("00004711", &number, 0, 8, 0, '\0');
  });
}

void add_floats(Calls& calls) {
  calls.convert(NAMED(ZVRTCnvDblToWVarcharSz), "1234.56", value(1234.56));
  calls.convert(NAMED(ZVRTCnvDblToWVarcharSz), "6.02214076e+23", value(6.02214076e+23));
  calls.convert(NAMED(ZVRTCnvFltToWVarcharSz), "1234.56", value(1234.56F));
  calls.convert(NAMED(ZVRTCnvWVarcharSzToDbl), "1234.56", wide(L"1234.56"));
  calls.convert(NAMED(ZVRTCnvWVarcharSzToDbl), "1.2345599999999999E+03", wide(L"1.2345599999999999E+03"));
  calls.convert(NAMED(ZVRTCnvWVarcharSzToFlt), "1.2345600E+03", wide(L"1.2345600E+03"));
}

void add_decimals(Calls& calls) {
  constexpr std::array<unsigned char, 5> packed{0x00, 0x12, 0x34, 0x56, 0x7D};
  constexpr std::array<unsigned char, 5> varnum{0x04, 0xC2, 0x02, 0x18, 0x2E};
  calls.convert(NAMED(ZVRTCnvDecPackedToWVarcharSz), "-1234567 in 5 bytes", value(packed), packed.size());
  calls.convert(NAMED(ZVRTCnvDecPackedToVarcharSz), "-1234567 in 5 bytes", value(packed), packed.size());
  calls.convert(NAMED(ZVRTCnvWVarcharSzToDecPacked), "-1234567 in 5 bytes", wide(L"-1234567"), 0, packed.size());
  calls.convert(NAMED(ZVRTCnvVarcharSzToDecPacked), "-1234567 in 5 bytes", narrow("-1234567"), 0, packed.size());
  calls.convert(NAMED(ZVRTCnvWVarcharSz_UnsignedToOraVarnum), "123.45", wide(L"123.45"));
  calls.convert(NAMED(ZVRTCnvVarcharSz_UnsignedToOraVarnum), "123.45", narrow("123.45"));
  calls.convert(NAMED(ZVRTCnvOraVarnumToWVarcharSz_Unsigned), "123.45", value(varnum));
  calls.convert(NAMED(ZVRTCnvOraVarnumToVarcharSz_Unsigned), "123.45", value(varnum));
}

struct ModelSample {
  const wchar_t* model;
  const char* words;
  const wchar_t* wide;
};

constexpr ModelSample model_samples[] = {
    {L"%YYYY-%MM-%DD %HH24:%MI:%SS.%FFFFFF", "2024-03-05 07:08:09.001234", L"2024-03-05 07:08:09.001234"},
    {L"%YYYY-%MM-%DD %HH24:%MI:%SS", "2024-03-05 07:08:09", L"2024-03-05 07:08:09"},
    {L"%DD-%MMM-%YYYY", "05-Mar-2024", L"05-Mar-2024"},
    {L"%MONTH %DD, %YYYY %HH:%MI:%SS %PM", "March 05, 2024 07:08:09 AM", L"March 05, 2024 07:08:09 AM"},
};

void add_timestamps(Calls& calls) {
  static constexpr ZVRTTS moment{2024, 3, 5, 7, 8, 9, 1234, {}};
  const Source record = value(moment);
  for (const ModelSample& sample : model_samples) {
    const auto field = std::make_shared<Field>(0, sample.model);
    calls.convert(NAMED(ZVRTCnvZVRTTSToWVarcharSz), sample.words, record, 0, room, field);
    calls.convert(NAMED(ZVRTCnvDateTimeWSzToZVRTTS), sample.words, wide(sample.wide), 0, room, field);
  }
  const ModelSample& iso = model_samples[0];
  const auto field = std::make_shared<Field>(0, iso.model);
  const Source bytes = narrow(iso.words);
  const Source characters = wide(iso.wide);
  constexpr std::int32_t length = 26;
  calls.convert(NAMED(ZVRTCnvZVRTTSToWchar), iso.words, record, 0, room, field);
  calls.convert(NAMED(ZVRTCnvZVRTTSToWVarchar), iso.words, record, 0, room, field);
  calls.convert(NAMED(ZVRTCnvZVRTTSToChar), iso.words, record, 0, room, field);
  calls.convert(NAMED(ZVRTCnvZVRTTSToVarchar), iso.words, record, 0, room, field);
  calls.convert(NAMED(ZVRTCnvZVRTTSToVarcharSz), iso.words, record, 0, room, field);
  calls.convert(NAMED(ZVRTCnvDateTimeCharToZVRTTS), iso.words, bytes, length, room, field);
  calls.convert(NAMED(ZVRTCnvDateTimeVarcharToZVRTTS), iso.words, prefixed(bytes, 1), 0, room, field);
  calls.convert(NAMED(ZVRTCnvDateTimeSzToZVRTTS), iso.words, bytes, 0, room, field);
  calls.convert(NAMED(ZVRTCnvDateTimeWcharToZVRTTS), iso.words, characters, length, room, field);
  calls.convert(NAMED(ZVRTCnvDateTimeWVarcharToZVRTTS), iso.words, prefixed(characters, sizeof(wchar_t)), 0, room,
                field);
  calls.add("ZVRTGetStringFromTS", "05/03/2024 07:08:09:001234", [] {
    std::array<wchar_t, 32> text;
    std::uint32_t written = 0;
    return ZVRTGetStringFromTS(&moment, text.data(), text.size(), &written);
  });
  calls.add("ZVRTGetFormatCodes", "%YYYY-%MM-%DD %HH24:%MI:%SS.%FFFFFF", [] {
    std::array<FmtCode, 64> codes;
    DtKind kind = 0;
    return ZVRTGetFormatCodes(model_samples[0].model, codes.data(), &kind);
  });
  calls.add("ZVRTDateCharToDate", "05-Mar-2024", [] {
    DateWithModel date{{}, model_samples[2].model};
    return ZVRTDateCharToDate("05-Mar-2024", &date);
  });
  calls.add("ZVRTUTF16DateCharToDate", "05-Mar-2024", [] {
    static constexpr std::uint16_t text[] = {'0', '5', '-', 'M', 'a', 'r', '-', '2', '0', '2', '4'};
    DateWithModel date{{}, model_samples[2].model};
    return ZVRTUTF16DateCharToDate(text, 11, &date);
  });
}

}  // namespace

std::vector<OrdinaryCall> ordinary_calls() {
  Calls calls;
  add_text(calls);
  add_trimming(calls);
  add_code_pages(calls);
  add_integers(calls);
  add_floats(calls);
  add_decimals(calls);
  add_timestamps(calls);
  return calls.take();
}

}  // namespace zvrt_test
