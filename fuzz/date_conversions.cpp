// The date conversions against what they consist of: a record is written to every kind, a text of every kind is read.
#include "datetime/conversion_reference.h"
#include "input.h"

void zvrt_fuzz::check(Input input) {
  using namespace zvrt_test;
  const bool writes = input.flag();
  const Model model(any_model(input, 12));
  if (model.status != ZVRT_RC_OK) return;
  Field field(model);
  const std::size_t size = input.below(300);
  if (writes) {
    const ZVRTTS ts = input.flag() ? valid_timestamp(input) : any_timestamp(input);
    for (const Writer& writer : writers) {
      ASSERT_EQ(expected_text(writer, ts, size, model, &field), run(writer.write, &ts, nullptr, size, &field));
    }
    return;
  }
  const std::string letters = input.text_over("0123456789-/: aApPmMJarn.").substr(0, 200);
  const std::wstring text(letters.begin(), letters.end());
  if (text.empty()) return;
  for (const Reader& reader : readers) {
    std::int32_t length = reader.is_given() ? static_cast<std::int32_t>(text.size()) : 0;
    ASSERT_EQ(expected_record(reader, model, text),
              run(reader.read, reader.source(text).data(), &length, reader.record_size(), &field));
  }
}
