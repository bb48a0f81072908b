#include "arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <thread>

namespace zvrt::records {
namespace {

constexpr unsigned most_by_default = 4;  // one writer is not faster than so many

void add_layout_options(CLI::App& verb, Arguments& a) {
  verb.add_option("--binary-size", a.binary_size, "bytes of binary items by their digits")
      ->check(CLI::IsMember({"2-4-8", "1-2-4-8", "1--8"}))
      ->capture_default_str();
  verb.add_option("--sync", a.sync, "boundary of SYNC items of 10 to 18 digits")
      ->check(CLI::IsMember({4, 8}))
      ->capture_default_str();
  verb.add_option("-I,--include", a.folders, "a folder of copybooks that COPY names, beside the layout's own")
      ->allow_extra_args(false);
  verb.add_option("--replacing", a.replacing, "OLD=NEW in the copybook's words, as :TAG:=CUST")
      ->allow_extra_args(false);
}

void add_column_options(CLI::App& verb, Arguments& a) {
  verb.add_option("--record", a.record, "the 01 record, or meaning of a redefinition, to take");
  verb.add_option("--segment", a.segments, "FIELD=VALUE[,VALUE...]:NAME: such records are NAME's, a table each")
      ->allow_extra_args(false);
  verb.add_option("--redefines", a.redefines, "every meaning as columns of its own, or the first")
      ->check(CLI::IsMember({"all", "first"}))
      ->capture_default_str();
  verb.add_option("-c,--code-page", a.code_page, "number or name, in place of the layout's; 37 if neither says");
  verb.add_option("--newline", a.newline, "the byte of an EBCDIC page that is U+000A: nel (25) or lf (15)")
      ->check(CLI::IsMember({"nel", "lf"}));
  verb.add_flag("--keep-bytes", a.keep_bytes, "RECORD_BYTES: export then changes only fields whose cells changed");
}

void add_format_options(CLI::App& verb, Arguments& a) {
  verb.add_option("--record-format", a.format, "fixed; length words; blocks of them; lines")
      ->check(CLI::IsMember({"F", "FB", "V", "VB", "D"}))
      ->capture_default_str();
  verb.add_option("--rdw-order", a.rdw_order, "byte order of length words")
      ->check(CLI::IsMember({"big", "little"}))
      ->capture_default_str();
  verb.add_option("--rdw-includes-itself", a.rdw_includes, "whether length words count themselves")
      ->check(CLI::IsMember({"yes", "no"}))
      ->capture_default_str();
  verb.add_option("--rdw-adjust", a.rdw_adjust, "added to what length words say")->capture_default_str();
  verb.add_option("--record-length", a.record_length, "of fixed records, if not the layout's")
      ->check(CLI::PositiveNumber);
  verb.add_option("--length-field", a.length_field, "the field that holds the record's length");
  verb.add_option("--skip-header", a.skip_header, "bytes before the first record of each file");
  verb.add_option("--skip-trailer", a.skip_trailer, "bytes after the last record of each file");
  verb.add_option("--record-header", a.record_header, "bytes before each record");
  verb.add_option("--odo", a.odo, "items after a variable table follow its last used entry, or its last possible one")
      ->check(CLI::IsMember({"shift", "max"}));
}

void add_value_options(CLI::App& verb, Arguments& a) {
  verb.add_option("--low-values", a.low_values, "bytes 00 in text")
      ->check(CLI::IsMember({"blank", "refuse", "keep"}))
      ->capture_default_str();
  verb.add_option("--trim", a.trim, "blanks of text that are not taken")
      ->check(CLI::IsMember({"right", "both", "none"}))
      ->capture_default_str();
  verb.add_option("--binary", a.binary, "COMP is written as its picture says, or over its whole range")
      ->check(CLI::IsMember({"std", "full"}))
      ->capture_default_str();
  verb.add_option("--native", a.native, "byte order of COMP-5; big for an EBCDIC page")
      ->check(CLI::IsMember({"big", "little"}));
  verb.add_option("--float", a.floats, "form of COMP-1 and COMP-2; ibm for an EBCDIC page")
      ->check(CLI::IsMember({"ibm", "ieee"}));
  verb.add_option("--null", a.nulls, "FIELD=blanks|zeros|low-values|high-values|TEXT: what stands for a null")
      ->allow_extra_args(false);
}

void add_run_options(CLI::App& verb, Arguments& a) {
  static const std::map<std::string, OnReject> policies{
      {"skip", OnReject::skip}, {"keep", OnReject::keep}, {"stop", OnReject::stop}};
  verb.add_option("-t,--table", a.table, "the table in a database; with segments a prefix");
  verb.add_option("--range", a.range, "FIRST:COUNT: only these records or rows, from 1; of import as ranges prints it");
  verb.add_option("--columns", a.columns, "only these columns")->allow_extra_args(false)->delimiter(',');
  verb.add_option("--limit", a.limit, "no more than so many records or rows");
  verb.add_option("-r,--rejects", a.rejects, "file for what is refused (RECORDS.rejects.csv)");
  verb.add_option("--on-reject", a.on_reject, "a row with a refused cell: skip, keep (as null) or stop")
      ->transform(CLI::CheckedTransformer(policies).description("{skip,keep,stop}"))
      ->default_str("skip");
  verb.add_option("--max-rejects", a.max_rejects, "stop after so many refusals");
  verb.add_flag("--json", a.json, "the report as JSON");
  verb.add_option("--delimiter", a.delimiter, "between the cells of a CSV file; tab for a tabulator")
      ->capture_default_str();
  verb.add_option("--null-text", a.null_text, "the text of a null in a CSV file, in place of nothing");
}

// All words but those that the output does not depend on.
std::vector<std::string> words_of(int argc, char** argv) {
  std::vector<std::string> words{ZVRT_RECORDS_VERSION};
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word == "--threads" || word == "--manifest")
      ++i;
    else if (word != "--replace" && word != "--json" && !word.starts_with("--threads=") &&
             !word.starts_with("--manifest="))
      words.push_back(word);
  }
  return words;
}

}  // namespace

unsigned threads_of(const Arguments& arguments) {
  return arguments.threads != 0 ? arguments.threads
                                : std::clamp(std::thread::hardware_concurrency(), 1U, most_by_default);
}

int parse_arguments(int argc, char** argv, Arguments& a, bool& ends) {
  CLI::App app("Mainframe record files to tables and back, as a copybook lays them out.", "zvrt-records");
  app.footer(
      "TABLE: a .csv or .jsonl file, odbc:CONNECTION-STRING (-t NAME), else an SQLite database (-t NAME);\n"
      "- is CSV on standard output or input.\n"
      "With --segment a CSV TABLE is a folder. Exit status: 0 all is done, 1 done but for refusals, 2 not done.\n"
      "zvrt-records VERB --help lists the options of a verb.");
  app.set_version_flag("--version", ZVRT_RECORDS_VERSION);
  app.require_subcommand(1, 1);
  CLI::App& reads = *app.add_subcommand("import", "record files to a table");
  CLI::App& writes = *app.add_subcommand("export", "a table to a record file");
  CLI::App& verify = *app.add_subcommand("verify", "compare a table with a record file, cell by cell");
  CLI::App& looks = *app.add_subcommand("inspect", "what a record file looks like, and its first records");
  CLI::App& ranges = *app.add_subcommand("ranges", "cut record files into ranges for import, one a line");
  CLI::App& layout = *app.add_subcommand("layout", "every item of a copybook: level, picture, usage, offset, length");
  CLI::App& ddl = *app.add_subcommand("ddl", "the CREATE TABLE of what import makes");
  for (CLI::App* const verb : {&reads, &writes, &verify}) {
    verb->add_option("-l,--layout", a.layout, "the copybook")->required();
    add_format_options(*verb, a);
    add_layout_options(*verb, a);
    add_column_options(*verb, a);
    add_value_options(*verb, a);
    add_run_options(*verb, a);
  }
  std::vector<std::string> files;
  reads.add_option("files", files, "RECORDS... TABLE")->required()->expected(2, -1);
  writes.add_option("files", files, "TABLE RECORDS")->required()->expected(2, 2);
  verify.add_option("files", files, "TABLE RECORDS...")->required()->expected(2, -1);
  for (CLI::App* const verb : {&writes, &verify})
    verb->add_option("--order-by", a.order_by, "the column by which the rows of a database's table are read");
  for (CLI::App* const verb : {&reads, &writes}) {
    verb->add_flag("--replace", a.replace, "replace what exists");
    verb->add_option("--threads", a.threads, "how many work; one for each processor, 4 at most, by default")
        ->check(CLI::Range(1U, 256U));
    verb->add_flag("--dry-run", a.dry_run, "say what would come of it, and write nothing");
  }
  reads
      .add_option("--manifest", a.manifest,
                  "file that lists the ranges that are done; those of them are not done again")
      ->needs(reads.get_option("--range"));
  reads.add_flag("--append", a.append, "append to the table if it exists")->excludes(reads.get_option("--replace"));
  reads.add_flag("--create", a.create, "make the table over ODBC if there is none");
  reads.add_flag("--bom", a.bom, "begin a CSV file with a byte order mark");
  looks.add_option("-l,--layout", a.layout, "the copybook");
  looks.add_option("files", files, "RECORDS")->required()->expected(1, 1);
  looks.add_option("--limit", a.limit, "records shown; 3 by default")->check(CLI::Range(1, 1000));
  looks.add_option("--html", a.html, "also a page of it, in this file")->needs(looks.get_option("--layout"));
  looks.add_flag("--replace", a.replace, "replace what exists");
  add_format_options(looks, a);
  add_layout_options(looks, a);
  add_column_options(looks, a);
  add_value_options(looks, a);
  ranges.add_option("-l,--layout", a.layout, "the copybook")->required();
  ranges.add_option("files", files, "RECORDS...")->required()->expected(1, -1);
  ranges.add_option("--records", a.part_records, "records of a range")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  add_format_options(ranges, a);
  add_layout_options(ranges, a);
  add_column_options(ranges, a);
  layout.add_option("copybook", a.layout, "the copybook")->required();
  layout.add_flag("--json", a.json, "an object a line");
  add_layout_options(layout, a);
  ddl.add_option("copybook", a.layout, "the copybook")->required();
  ddl.add_option("-t,--table", a.table, "name of the table");
  add_layout_options(ddl, a);
  add_column_options(ddl, a);
  ends = true;
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  ends = false;
  const std::map<std::string, Verb> verbs{{"import", Verb::import_records},
                                          {"export", Verb::export_table},
                                          {"verify", Verb::verify},
                                          {"inspect", Verb::inspect},
                                          {"ranges", Verb::ranges},
                                          {"layout", Verb::layout},
                                          {"ddl", Verb::ddl}};
  const CLI::App* const used = app.get_subcommands().front();
  a.verb = verbs.at(used->get_name());
  if (files.empty()) return 0;
  a.format_told = used->count("--record-format") != 0;
  if (a.verb == Verb::inspect || a.verb == Verb::ranges) {
    a.records = files;
    return 0;
  }
  a.words = words_of(argc, argv);
  a.rejects_told = used->count("--rejects") != 0;
  a.null_text_told = used->count("--null-text") != 0;
  if (a.verb == Verb::import_records) {
    a.table_file = files.back();
    files.pop_back();
  } else {
    a.table_file = files.front();
    files.erase(files.begin());
  }
  a.records = files;
  return 0;
}

}  // namespace zvrt::records
