// A text in a page of the converter service, walked character by character: slow, for reasons and substitutes.
#pragma once

#include "columns/block.h"

namespace zvrt::columns {

class ServiceWalk {
 public:
  ServiceWalk(void* converter, const Value& value);

  // To the next character, or to bytes that are none. False at the end, and where the service fails.
  bool next();
  Status failure() const { return failure_; }
  bool is_valid() const { return is_valid_; }
  std::int64_t offset() const { return at_; }
  // What the bytes stand for; nearly always one character.
  std::uint32_t count() const { return count_; }
  std::uint32_t character(std::uint32_t k) const { return characters_[k]; }

 private:
  static constexpr std::int32_t most = 4;

  bool is_shift(std::byte byte);
  bool read(std::int64_t length);

  void* converter_;
  Value value_;
  std::int64_t at_ = 0;
  std::int64_t length_ = 0;
  std::uint32_t characters_[most] = {};
  std::uint32_t count_ = 0;
  Status failure_ = ZVRT_RC_OK;
  bool is_shifted_ = false;
  bool is_valid_ = true;
};

// The offset of the first byte that is no part of a character, or -1.
std::int64_t find_malformed(void* converter, const Value& value);

}  // namespace zvrt::columns
