#include "support/ordinary_calls.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <cwchar>
#include <memory>
#include <string_view>

#include "ZVRTDataCnvLib.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {
namespace {

constexpr std::int32_t capacity = 64 * 1024;
alignas(64) std::array<std::byte, capacity> destination;

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
// As a field without a terminator has it.
Source open(const Source& text, std::size_t terminator) { return bytes_of(text->data(), text->size() - terminator); }
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

// A model's tokenised form.
class Model {
 public:
  explicit Model(const wchar_t* text)
      : length_(static_cast<std::int32_t>(std::wcslen(text))), codes_((std::wcslen(text) + 1) * sizeof(FmtCode)) {
    std::memset(codes_.as<>(), 0, codes_.size());
    DtKind kind = 0;
    ZVRTGetFormatCodes(text, codes_.as<FmtCode>(), &kind);
  }
  std::int32_t length() const { return length_; }
  const FmtCode* codes() { return codes_.as<FmtCode>(); }

 private:
  std::int32_t length_;
  GuardedBuffer codes_;
};

// A field descriptor for a code page and, or, a format model.
class Field {
 public:
  explicit Field(std::uint32_t code_page, const wchar_t* model = L"") : model_(model) {
    format_.model = model_.codes();
    format_.modelLen = model_.length();
    field_.codePage = code_page;
    field_.dtFormat = &format_;
  }
  Field(const Field&) = delete;
  Field& operator=(const Field&) = delete;
  const FldDef* get() const { return &field_; }

 private:
  Model model_;
  DtFormatDesc format_{};
  FldDef field_{};
};

class Calls {
 public:
  // A conversion with the common arguments. Sources that carry their length have a source length of 0.
  void convert(const char* function, ZVRTConversion* conversion, const char* words, const Source& source,
               std::int32_t source_length = 0, std::int32_t room_given = capacity,
               const std::shared_ptr<Field>& field = nullptr) {
    add(function, words, [=] {
      std::int32_t length = source_length;
      std::uint32_t out = 0;
      return conversion(source->data(), &length, destination.data(), room_given, &out,
                        field == nullptr ? nullptr : field->get());
    });
    convert_there(function, conversion, words, source, source_length, room_given, field);
  }
  void add(const char* function, const char* words, std::function<std::uint32_t()> call) {
    calls_.push_back({function, words, std::move(call)});
  }
  // Not measured, but made on any buffers.
  void convert_there(const char* function, ZVRTConversion* conversion, const char* words, const Source& source,
                     std::int32_t source_length = 0, std::int32_t room_given = capacity,
                     const std::shared_ptr<Field>& field = nullptr) {
    const auto size = room_given == capacity ? std::nullopt : std::optional(room_given);
    add_there(function, words, source, source_length, size, 1, [=](Buffers& b) {
      std::int32_t* const length = b.without_length && source_length == 0 ? nullptr : &b.length;
      return conversion(b.src, length, b.dst, b.size, &b.out_length, field == nullptr ? nullptr : field->get());
    });
  }
  void add_there(const char* function, const char* words, const Source& source, std::int32_t length,
                 std::optional<std::int32_t> size, std::size_t unit, std::function<std::uint32_t(Buffers&)> call) {
    const std::string bytes(reinterpret_cast<const char*>(source->data()), source->size());
    there_.push_back({function, words, bytes, length, size, unit, std::move(call)});
  }
  std::vector<OrdinaryCall> take() { return std::move(calls_); }
  std::vector<CallOnBuffers> take_there() { return std::move(there_); }

 private:
  std::vector<OrdinaryCall> calls_;
  std::vector<CallOnBuffers> there_;
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
  calls.convert(NAMED(ZVRTCnvCharToWVarcharSz), name.words, open(bytes, 1),
                static_cast<std::int32_t>(bytes->size() - 1));
  calls.convert(NAMED(ZVRTCnvWCharToVarcharSz), name.words, open(characters, sizeof(wchar_t)),
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
                narrow("\xC1\x95\x95\x81\x40\xE2\x94\x89\xA3\x88\x6B\x40\xF4\xF2\x40\xC2"), 0, capacity, ebcdic);
  calls.convert(NAMED(ZVRTCnvWVarcharSzToVarcharSz), "code page 37, 16 characters", wide(samples[0].wide), 0, capacity,
                ebcdic);
  calls.convert(NAMED(ZVRTCnvVarcharSzToWVarcharSz), "code page 932, 8 characters",
                narrow("\x93\x8C\x8B\x9E\x93\x73\x92\x8D\x95\xB6\x93\x63\x92\x86\x89\xBF"), 0, capacity, shift_jis);
  calls.convert(NAMED(ZVRTCnvWVarcharSzToVarcharSz), "code page 932, 8 characters", wide(L"東京都注文田中価"), 0,
                capacity, shift_jis);
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
    calls.convert(NAMED(ZVRTCnvZVRTTSToWVarcharSz), sample.words, record, 0, capacity, field);
    calls.convert(NAMED(ZVRTCnvDateTimeWSzToZVRTTS), sample.words, wide(sample.wide), 0, capacity, field);
  }
  const ModelSample& iso = model_samples[0];
  const auto field = std::make_shared<Field>(0, iso.model);
  const Source bytes = narrow(iso.words);
  const Source characters = wide(iso.wide);
  constexpr std::int32_t length = 26;
  calls.convert(NAMED(ZVRTCnvZVRTTSToWchar), iso.words, record, 0, capacity, field);
  calls.convert(NAMED(ZVRTCnvZVRTTSToWVarchar), iso.words, record, 0, capacity, field);
  calls.convert(NAMED(ZVRTCnvZVRTTSToChar), iso.words, record, 0, capacity, field);
  calls.convert(NAMED(ZVRTCnvZVRTTSToVarchar), iso.words, record, 0, capacity, field);
  calls.convert(NAMED(ZVRTCnvZVRTTSToVarcharSz), iso.words, record, 0, capacity, field);
  calls.convert(NAMED(ZVRTCnvDateTimeCharToZVRTTS), iso.words, open(bytes, 1), length, capacity, field);
  calls.convert(NAMED(ZVRTCnvDateTimeVarcharToZVRTTS), iso.words, prefixed(bytes, 1), 0, capacity, field);
  calls.convert(NAMED(ZVRTCnvDateTimeSzToZVRTTS), iso.words, bytes, 0, capacity, field);
  calls.convert(NAMED(ZVRTCnvDateTimeWcharToZVRTTS), iso.words, open(characters, sizeof(wchar_t)), length, capacity,
                field);
  calls.convert(NAMED(ZVRTCnvDateTimeWVarcharToZVRTTS), iso.words, prefixed(characters, sizeof(wchar_t)), 0, capacity,
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

template <class T>
T* in(void* place) {
  return static_cast<T*>(place);
}
template <class T>
const T* in(const void* place) {
  return static_cast<const T*>(place);
}

void add_other_strings(Calls& calls) {
  const Sample& name = samples[1];
  const Source bytes = narrow(name.text), characters = wide(name.wide);
  const auto bytes_long = static_cast<std::int32_t>(bytes->size() - 1);
  const auto wide_long = static_cast<std::int32_t>(characters->size() - sizeof(wchar_t));
  calls.convert_there(NAMED(ZVRTCnvCharToVarcharSz), name.words, open(bytes, 1), bytes_long);
  calls.convert_there(NAMED(ZVRTCnvWCharToWVarcharSz), name.words, open(characters, sizeof(wchar_t)), wide_long);
  calls.convert_there(NAMED(ZVRTCnvVarcharToVarcharSz), name.words, prefixed(bytes, 1));
  calls.convert_there(NAMED(ZVRTCnvWVarcharToWVarcharSz), name.words, prefixed(characters, sizeof(wchar_t)));
  calls.convert_there(NAMED(ZVRTCnvVarcharSzToChar), name.words, bytes);
  calls.convert_there(NAMED(ZVRTCnvVarcharSzToVarchar), name.words, bytes);
  calls.convert_there(NAMED(ZVRTCnvVarcharSzToWChar), name.words, bytes);
  calls.convert_there(NAMED(ZVRTCnvWVarcharSzToChar), name.words, characters);
  calls.convert_there(NAMED(ZVRTCnvWVarcharSzToWChar), name.words, characters);
  calls.convert_there(NAMED(ZVRTCnvWVarcharSzToWVarchar), name.words, characters);
  calls.convert_there(NAMED(ZVRTCnvWVarcharSzToWVarcharSzOut), name.words, characters);
}

// The length is that of the source in units; the destination's unit is the last number.
void add_transforms(Calls& calls) {
  static constexpr char16_t text[] = u"Élodie 😀";
  const Source bytes = open(narrow("Élodie 😀"), 1), characters = open(wide(L"Élodie 😀"), 4);
  const Source halves = bytes_of(text, sizeof text - 2);
  calls.add_there("Convert8To32", "9 characters", bytes, 12, {}, 4, [](Buffers& b) {
    return Convert8To32(in<wchar_t>(b.dst), b.size / 4, in<char>(b.src), b.length, &b.out_length);
  });
  calls.add_there("Convert8To16", "9 characters", bytes, 12, {}, 2, [](Buffers& b) {
    return Convert8To16(in<std::uint16_t>(b.dst), b.size / 2, in<char>(b.src), b.length, &b.out_length);
  });
  calls.add_there("Convert32To8", "9 characters", characters, 8, {}, 1, [](Buffers& b) {
    return Convert32To8(in<char>(b.dst), b.size, in<wchar_t>(b.src), b.length, &b.out_length);
  });
  calls.add_there("Convert32To16", "9 characters", characters, 8, {}, 2, [](Buffers& b) {
    return Convert32To16(in<wchar_t>(b.src), b.length, in<std::uint16_t>(b.dst), b.size / 2, &b.out_length);
  });
  calls.add_there("Convert16To8", "9 characters", halves, 9, {}, 1, [](Buffers& b) {
    return Convert16To8(in<char>(b.dst), b.size, in<std::uint16_t>(b.src), b.length, &b.out_length);
  });
  calls.add_there("Convert16To32", "9 characters", halves, 9, {}, 4, [](Buffers& b) {
    return Convert16To32(in<std::uint16_t>(b.src), b.length, in<wchar_t>(b.dst), b.size / 4, &b.out_length);
  });
  calls.add_there("ConvertFrom8", "an emoji", open(narrow("😀"), 1), 4, 4, 1, [](Buffers& b) {
    const char* at = in<char>(b.src);
    std::uint32_t status = 0;
    ConvertFrom8(in<std::uint32_t>(b.dst), &at, b.length, &status, &b.out_length);
    return status;
  });
  calls.add_there("ConvertTo8", "an emoji", bytes, 0, {}, 1, [](Buffers& b) {
    char* at = in<char>(b.dst);
    std::uint32_t status = 0;
    b.out_length = 0;
    ConvertTo8(&at, b.size, 0x1F600, &status, &b.out_length);
    return status;
  });
}

// In place: the text is copied to the destination first.
void add_other_trimming(Calls& calls) {
  const Source text = narrow("  Anna Smith  "), wide_text = wide(L"\t Anna Smith  ");
  const auto size = static_cast<std::int32_t>(text->size());
  calls.add_there("TrimSpaces", "code page 1208", text, size - 1, size, 1, [](Buffers& b) {
    std::memcpy(b.dst, b.src, static_cast<std::size_t>(b.size));
    return TrimSpaces(in<char>(b.dst), &b.length, 1, 1, 1208, '2');
  });
  calls.add_there("TrimSpacesA", "14 bytes", text, size - 1, size, 1, [](Buffers& b) {
    std::memcpy(b.dst, b.src, static_cast<std::size_t>(b.size));
    return TrimSpacesA(in<char>(b.dst), &b.length, 1, 1);
  });
  calls.add_there("TrimSpacesW", "14 characters", wide_text, size - 1, size * 4, 1, [](Buffers& b) {
    std::memcpy(b.dst, b.src, static_cast<std::size_t>(b.size));
    return TrimSpacesW(in<wchar_t>(b.dst), &b.length, 1, 1);
  });
  calls.add_there("TrimAllSpacesTabsW", "14 characters", wide_text, size - 1, size * 4, 1, [](Buffers& b) {
    std::memcpy(b.dst, b.src, static_cast<std::size_t>(b.size));
    return TrimAllSpacesTabsW(in<wchar_t>(b.dst), &b.length);
  });
  const auto field = std::make_shared<Field>(37);
  calls.add_there("InitializeCharBufferWithSpaces", "code page 37", text, 0, 37, 1,
                  [field](Buffers& b) { return InitializeCharBufferWithSpaces(b.dst, b.size, field->get()); });
  calls.add_there("ZVRT_MultiByteToWideChar", "code page 37", open(narrow("\xC1\x95\x95\x81"), 1), 4, {}, 1,
                  [field](Buffers& b) {
                    return ZVRT_MultiByteToWideChar(field->get(), b.src, b.length, b.dst, b.size, &b.out_length);
                  });
  calls.add_there("ZVRT_WideCharToMultiByte", "code page 37", open(wide(L"Anna"), 4), 16, {}, 1, [field](Buffers& b) {
    return ZVRT_WideCharToMultiByte(field->get(), b.src, b.length, b.dst, b.size, &b.out_length);
  });
}

void add_other_numbers(Calls& calls) {
  const Source digits = wide(L"4711");
  const Source eight = value(std::int64_t{-1}), four = value(std::int32_t{-1});
  const Source two = value(std::int16_t{-1}), one = value(std::int8_t{-1});
  const struct {
    const char* function;
    ZVRTConversion* conversion;
    const Source& source;
  } rows[] = {
      {NAMED(ZVRTCnvULONGLONGToWVarcharSzOut), eight}, {NAMED(ZVRTCnvLongLongToWVarcharSzOut), eight},
      {NAMED(ZVRTCnvUIntToWVarcharSz), four},          {NAMED(ZVRTCnvUIntToWVarcharSzOut), four},
      {NAMED(ZVRTCnvUIntToVarcharSz), four},           {NAMED(ZVRTCnvIntToWVarcharSz1Out), four},
      {NAMED(ZVRTCnvSmallUIntToWVarcharSz), two},      {NAMED(ZVRTCnvSmallUIntToWVarcharSzOut), two},
      {NAMED(ZVRTCnvSmallIntToWVarcharSzOut), two},    {NAMED(ZVRTCnvTinyUIntToWVarcharSz), one},
      {NAMED(ZVRTCnvTinyUIntToWVarcharSzOut), one},    {NAMED(ZVRTCnvTinyIntToWVarcharSz), one},
      {NAMED(ZVRTCnvTinyIntToWVarcharSzOut), one},     {NAMED(ZVRTCnvWVarcharSzToULONGLONG), digits},
      {NAMED(ZVRTCnvWVarcharSzToUInt), digits},        {NAMED(ZVRTCnvWVarcharSzToSmallUInt), digits},
      {NAMED(ZVRTCnvWVarcharSzToSmallInt), digits},    {NAMED(ZVRTCnvWVarcharSzToTinyUInt), digits},
      {NAMED(ZVRTCnvWVarcharSzToTinyInt), digits},
  };
  for (const auto& row : rows) calls.convert_there(row.function, row.conversion, "a number", row.source);
  calls.convert_there(NAMED(ZVRTCnvVarcharSzToUInt), "4711", narrow("4711"));
  calls.convert_there(NAMED(ZVRTCnvDblToWVarcharSzOut), "1234.56", value(1234.56));
  calls.convert_there(NAMED(ZVRTCnvFltToWVarcharSzOut), "1234.56", value(1234.56F));
  calls.convert_there(NAMED(ZVRTCnvDecPackedToWVarcharSzOut), "47110", value(std::array<char, 3>{0x47, 0x11, 0x0C}), 3);

  calls.add_there("ZVRTCnvIntToUni", "%05d of 4711", digits, 0, {}, 4,
                  [](Buffers& b) { return ZVRTCnvIntToUni(in<wchar_t>(b.dst), b.size, "%05d", 4711, &b.out_length); });
  calls.add_there("ZVRTCnvIntToVarcharSz", "-4711", digits, 0, {}, 1, [](Buffers& b) {
    std::int32_t length = b.size;
    const std::uint32_t status = ZVRTCnvIntToVarcharSz(-4711, in<char>(b.dst), &length, 0, '\0');
    if (status == ZVRT_RC_OK) b.length = length;
    return status;
  });
  calls.add_there("ZVRTCnvIntToWVarcharSz", "-2147483648", digits, 0, 12 * 4, 4,
                  [](Buffers& b) { return ZVRTCnvIntToWVarcharSz(INT32_MIN, in<wchar_t>(b.dst), &b.out_length); });
  calls.add_there("FloatToString", "1234.56", digits, 0, {}, 4,
                  [](Buffers& b) { return FloatToString(in<wchar_t>(b.dst), b.size / 4, 6, 1234.56); });
  calls.add_there("ZVRTCnvVarcharSzToInt", "a field of a record", open(narrow("ab-4711"), 1), 5, 4, 4, [](Buffers& b) {
    return ZVRTCnvVarcharSzToInt(in<char>(b.src), in<std::int32_t>(b.dst), 2, b.length, 0, '\0');
  });
  calls.add_there("ZVRTCnvWVarcharSzToInt", "a run of a text", open(digits, 4), 3, 4, 4, [](Buffers& b) {
    return ZVRTCnvWVarcharSzToInt(in<wchar_t>(b.src), in<std::int32_t>(b.dst), 1, b.length);
  });
  calls.add_there("ZVRTCnvWVarcharSzToInt2", "to the terminator", digits, 9, 4, 4, [](Buffers& b) {
    return ZVRTCnvWVarcharSzToInt2(in<wchar_t>(b.src), &b.length, in<std::int32_t>(b.dst), 1, b.length);
  });
  calls.add_there("ZVRTCnvCharToInt", "a field with blanks", open(narrow("4 71"), 1), 4, 4, 4,
                  [](Buffers& b) { return ZVRTCnvCharToInt(in<char>(b.src), b.length, in<std::uint32_t>(b.dst)); });
  calls.add_there("ConvertBCDToOraVarNum", "1234.56", open(narrow("\x0C\x22\x38"), 1), 3, 5, 1, [](Buffers& b) {
    GuardedBuffer pairs(b.src, 3);  // they may be changed
    return static_cast<std::uint32_t>(
        ConvertBCDToOraVarNum(in<std::uint8_t>(b.dst), pairs.as<std::uint8_t>(), 3, 2, '+'));
  });
}

void add_other_dates(Calls& calls) {
  static constexpr ZVRTTS moment{2024, 3, 5, 7, 8, 9, 1234, {}};
  const Source record = value(moment), day = value(ZVRTDate{2024, 3, 5}), time = value(ZVRTTime{7, 8, 9});
  const ModelSample& iso = model_samples[0];
  const auto field = std::make_shared<Field>(0, iso.model);
  const auto model = std::make_shared<Model>(iso.model);
  const auto date_model = std::make_shared<GuardedBuffer>(model_samples[2].model, 15 * sizeof(wchar_t));
  calls.convert_there(NAMED(ZVRTCnvZVRTTSToWVarcharSzOut), iso.words, record, 0, capacity, field);
  calls.convert_there(NAMED(ZVRTCnvZVRTDateToWVarcharSz), iso.words, day, 0, capacity, field);
  calls.convert_there(NAMED(ZVRTCnvZVRTDateToWVarcharSzOut), iso.words, day, 0, capacity, field);
  calls.convert_there(NAMED(ZVRTCnvZVRTTimeToWVarcharSz), iso.words, time, 0, capacity, field);
  calls.convert_there(NAMED(ZVRTCnvZVRTTimeToWVarcharSzOut), iso.words, time, 0, capacity, field);
  calls.convert_there(NAMED(ZVRTCnvDateTimeWSzToZVRTDate), iso.words, wide(iso.wide), 0, capacity, field);
  calls.convert_there(NAMED(ZVRTCnvDateTimeWSzToZVRTTime), iso.words, wide(iso.wide), 0, capacity, field);
  calls.add_there("ZVRTTSToWVarcharSz", iso.words, record, 0, {}, 4, [model](Buffers& b) {
    return ZVRTTSToWVarcharSz(in<wchar_t>(b.dst), b.size / 4, model->codes(), in<ZVRTTS>(b.src), ZVRT_DT_TIMESTAMP,
                              &b.out_length);
  });
  calls.add_there("ZVRTWVarcharSzToTS", iso.words, wide(iso.wide), 26, sizeof(ZVRTTS), 1, [model](Buffers& b) {
    return ZVRTWVarcharSzToTS(in<wchar_t>(b.src), b.length, model->codes(), model->length(), in<ZVRTTS>(b.dst),
                              ZVRT_DT_TIMESTAMP);
  });
  calls.add_there("ZVRTValidateDateTime", iso.words, record, 0, 0, 1,
                  [](Buffers& b) { return ZVRTValidateDateTime(in<ZVRTTS>(b.src), ZVRT_DT_TIMESTAMP); });
  calls.add_there("ZVRTGetFormatCodes", "%DD-%MMM-%YYYY", wide(model_samples[2].model), 0, 6 * sizeof(FmtCode), 1,
                  [](Buffers& b) { return ZVRTGetFormatCodes(in<wchar_t>(b.src), in<FmtCode>(b.dst), &b.length); });
  calls.add_there("ZVRTGetNextCodePosInSourceW", "on at -", wide(L"2024-03-05"), 0, 2 * sizeof(wchar_t), 4,
                  [model](Buffers& b) {
                    const FmtCode* code = model->codes() + 1;
                    const wchar_t* at = in<wchar_t>(b.src);
                    const std::uint32_t status = ZVRTGetNextCodePosInSourceW(&code, &at, in<wchar_t>(b.dst));
                    b.length = static_cast<std::int32_t>(at - in<wchar_t>(b.src));
                    return status;
                  });
  calls.add_there("ZVRTGetStringFromTS", iso.words, record, 0, {}, 4, [](Buffers& b) {
    return ZVRTGetStringFromTS(in<ZVRTTS>(b.src), in<wchar_t>(b.dst), b.size / 4, &b.out_length);
  });
  calls.add_there("ZVRTGetStringAFromTS", iso.words, record, 0, {}, 1, [](Buffers& b) {
    return ZVRTGetStringAFromTS(in<ZVRTTS>(b.src), in<char>(b.dst), b.size, &b.out_length);
  });
  const auto dated = [date_model](void* place) { return new (place) DateWithModel{{}, date_model->as<wchar_t>()}; };
  calls.add_there("ZVRTDateCharToDate", "05-Mar-2024", narrow("05-Mar-2024"), 0, sizeof(DateWithModel), 1,
                  [dated](Buffers& b) { return ZVRTDateCharToDate(in<char>(b.src), dated(b.dst)); });
  calls.add_there(
      "ZVRTUTF16DateCharToDate", "05-Mar-2024", bytes_of(u"05-Mar-2024", 22), 11, sizeof(DateWithModel), 1,
      [dated](Buffers& b) { return ZVRTUTF16DateCharToDate(in<std::uint16_t>(b.src), b.length, dated(b.dst)); });
}

Calls every_ordinary_call() {
  Calls calls;
  add_text(calls);
  add_trimming(calls);
  add_code_pages(calls);
  add_integers(calls);
  add_floats(calls);
  add_decimals(calls);
  add_timestamps(calls);
  return calls;
}

}  // namespace

std::vector<OrdinaryCall> ordinary_calls() { return every_ordinary_call().take(); }

std::vector<CallOnBuffers> calls_on_buffers() {
  Calls calls = every_ordinary_call();
  add_other_strings(calls);
  add_transforms(calls);
  add_other_trimming(calls);
  add_other_numbers(calls);
  add_other_dates(calls);
  return calls.take_there();
}

}  // namespace zvrt_test
