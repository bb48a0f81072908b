// The six transforms against the slow reference.
#include "encoding/transform_model.h"
#include "input.h"

void zvrt_fuzz::check(Input input) {
  using namespace zvrt_test;
  static Bench bench;
  const Transform& transform = input.of(transforms);
  const int capacity = input.between(null_destination, 1200);
  std::string src;
  switch (transform.src_unit) {
    case 1: src = input.bytes(); break;
    case 2: src = units<Half>(input.characters()); break;
    default: src = units<std::uint32_t>(input.characters());
  }
  ASSERT_TRUE(bench.agrees(transform, src, capacity));
}
