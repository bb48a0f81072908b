// A plan: the reader, the step and the writer of a pair, chosen when it is made.
#pragma once

#include <memory>

#include "ZVRTColumns.h"
#include "columns/block.h"
#include "columns/date_model.h"
#include "columns/page.h"
#include "columns/places.h"
#include "columns/single_call.h"
#include "columns/type.h"

namespace zvrt::columns {

using Step = void(const Type& from, const Type& to, Block& block);
// A direct kernel (direct.h): converts leading rows and returns how many.
struct Rows;
using Direct = std::int32_t(const ZVRTPlan& plan, const Rows& rows);
// A kernel that writes texts end to end (joined.h).
struct JoinedTexts;
using Join = std::int32_t(const ZVRTPlan& plan, const Rows& rows, JoinedTexts& texts);
struct ShortNumbers;

// What a value, or a run of values, passes through. A null step passes the canonical form on as it is.
struct Path {
  Read* read = nullptr;
  Step* step = nullptr;
  Step* second_step = nullptr;
  Write* write = nullptr;
};

// One side of a plan: its type and what the type points to.
struct Side {
  Type type;
  std::unique_ptr<PageTables> tables;
  std::unique_ptr<DateModel> model;
};

}  // namespace zvrt::columns

struct ZVRTPlan {
  zvrt::columns::Side from;
  zvrt::columns::Side to;
  std::uint32_t options = 0;
  zvrt::columns::Path path;
  zvrt::columns::Direct* direct = nullptr;  // null: the pair has none
  zvrt::columns::Join* joined = nullptr;    // likewise
  // Of the kernel that goes by short numbers (short_numbers.h).
  std::int32_t (*read_short)(const ZVRTPlan&, const zvrt::columns::Rows&, zvrt::columns::ShortNumbers&) = nullptr;
  std::int32_t (*write_short)(const ZVRTPlan&, const zvrt::columns::Rows&,
                              const zvrt::columns::ShortNumbers&) = nullptr;
  std::unique_ptr<zvrt::columns::SingleCall> single_call;
  bool is_check = false;  // reads only
};

namespace zvrt::columns {

// What the reasons of a refused plan are reported through.
struct Reason {
  Status status = ZVRT_RC_OK;
  std::int32_t side = -1;  // 0 source, 1 target
  const char* sentence = "";
};

// Checks a type and compiles its model into `model`; the page is the service's own.
Status open_checked_type(const ZVRTType& given, Type& type, DateModel& model);

// Chooses the path that reads values and stores nothing.
void choose_check_path(const Type& type, Path& path);

// Checks a type and opens what it names.
Status open_side(const ZVRTType& given, Role role, Side& side, Reason& reason);

// The options that fit a pair of types; 0 also where there is no such conversion.
std::uint32_t fitting_options(const Type& from, const Type& to);

// Chooses reader, steps and writer; false where there is no such conversion.
bool choose_path(const Type& from, const Type& to, Path& path);

// Makes a plan, or says why not.
std::unique_ptr<ZVRTPlan> make_plan(const ZVRTType& from, const ZVRTType& to, std::uint32_t options, Reason& reason);

// That a service which a plan's pages need is gone shows in every run, also where tables make it needless.
Status find_services(const ZVRTPlan& plan);

// The general way of a block whose sources and slots are set: reader, steps, writer.
void convert_block(const ZVRTPlan& plan, Block& block);

}  // namespace zvrt::columns
