// The verbs. Each returns the exit status: 0 all is done, 1 done but for refusals; what cannot be done is a Failure.
#ifndef ZVRT_TOOLS_ZVRT_RECORDS_RUNS_H
#define ZVRT_TOOLS_ZVRT_RECORDS_RUNS_H

#include "job.h"

namespace zvrt::records {

int import_records(const Arguments& arguments);
int export_table(const Arguments& arguments);
int verify_table(const Arguments& arguments);
int inspect_records(const Arguments& told_arguments);
int print_ranges(const Arguments& arguments);
int print_layout(const Arguments& arguments);
int print_ddl(const Arguments& arguments);

}  // namespace zvrt::records

#endif
