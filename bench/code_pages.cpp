#include "harness.h"
namespace zvrt_bench { void register_code_pages() {} }
