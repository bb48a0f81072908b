// Every pair of kinds against the slow reference, with types, values and bindings at random.
#include <gtest/gtest.h>

#include <set>

#include "columns/differential.h"

namespace zvrt_test {
namespace {

class Reference : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_EQ(ZVRTInitDataConversion(), ZVRT_RC_OK); }
  static void TearDownTestSuite() { EXPECT_EQ(ZVRTTermDataConversion(), ZVRT_RC_OK); }
};

enum class Group { text, bytes, number, date, time, timestamp };

Group group_of(std::uint32_t kind) {
  switch (kind) {
    case ZVRT_KIND_BYTES: return Group::bytes;
    case ZVRT_KIND_DATE:
    case ZVRT_KIND_CLI_DATE:
    case ZVRT_KIND_DAYS: return Group::date;
    case ZVRT_KIND_TIME:
    case ZVRT_KIND_CLI_TIME: return Group::time;
    case ZVRT_KIND_TIMESTAMP:
    case ZVRT_KIND_CLI_TIMESTAMP:
    case ZVRT_KIND_MICROS: return Group::timestamp;
    default: return kind <= ZVRT_KIND_UTF16_SZ ? Group::text : Group::number;
  }
}

// Kinds that hold dates as numbers, by a model.
bool takes_model(std::uint32_t kind) {
  return kind == ZVRT_KIND_INT || kind == ZVRT_KIND_UINT || kind == ZVRT_KIND_PACKED || kind == ZVRT_KIND_ZONED ||
         kind == ZVRT_KIND_DECIMAL;
}

// Whether plans of the pair are to be had.
bool is_pair(std::uint32_t from, std::uint32_t to) {
  const Group a = group_of(from), b = group_of(to);
  if (a == Group::text || b == Group::text) return true;
  if (a == Group::number || b == Group::number) {
    if (a == b) return true;
    const bool by_model = a == Group::number ? takes_model(from) : takes_model(to);
    return by_model && a != Group::bytes && b != Group::bytes;
  }
  if (a == b) return true;
  return (a == Group::date && b == Group::timestamp) || (a == Group::timestamp && b == Group::date);
}

TEST_F(Reference, EveryPairOfKinds) {
  for (std::uint32_t from = ZVRT_KIND_CHAR; from <= ZVRT_KIND_MICROS; ++from) {
    for (std::uint32_t to = ZVRT_KIND_CHAR; to <= ZVRT_KIND_MICROS; ++to) {
      Random random(from * 100 + to);
      int made = 0;
      // Types at random are rarely those that a pair of few plans asks for.
      for (int round = 0; round < 40 || (made == 0 && is_pair(from, to) && round < 3000); ++round) {
        const ZVRTType source = any_type_of(from, random), target = any_type_of(to, random);
        const std::uint32_t options = any_options(random);
        const std::string difference =
            find_difference(source, target, options, any_values(source, random), random, &made);
        EXPECT_EQ(difference, "") << "round " << round;
        if (!difference.empty()) break;
      }
      EXPECT_EQ(made > 0, is_pair(from, to)) << from << " to " << to;
    }
  }
}

TEST_F(Reference, ArraysOfEveryKind) {
  for (std::uint32_t kind = ZVRT_KIND_CHAR; kind <= ZVRT_KIND_MICROS; ++kind) {
    Random random(kind);
    int made = 0;
    for (int round = 0; round < 300; ++round) {
      const ZVRTType type = any_type_of(kind, random);
      const std::uint32_t options = any_options(random);
      const std::string difference = find_array_difference(type, options, any_values(type, random), random, &made);
      EXPECT_EQ(difference, "") << "kind " << kind << ", round " << round;
      if (!difference.empty()) break;
    }
    EXPECT_GT(made, 50) << kind;
  }
}

}  // namespace
}  // namespace zvrt_test
