// The command line.
#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <map>

#include "circle.h"
#include "exchange.h"
#include "report.h"

namespace record_exchange {
namespace {

enum ExitStatus { exit_fine = 0, exit_rejects = 1, exit_failure = 2 };

struct Arguments {
  std::string layout;
  std::string from;
  std::string into;
  std::string table;
  std::string rejects;
  std::string code_page;
  std::string newline;
  OnReject on_reject = OnReject::skip;
  bool replace = false;
  bool append = false;
  bool json = false;
  std::string data = RECORD_EXCHANGE_DATA;
  std::string work;
};

Layout layout_of(const Arguments& arguments) {
  Layout layout = read_layout(arguments.layout);
  if (!arguments.code_page.empty()) {
    const auto number = code_page_number(arguments.code_page);
    if (!number) throw Failure(fmt::format("'{}' is no code page", arguments.code_page));
    layout.page.number = *number;
  }
  if (!arguments.newline.empty()) layout.page.kind = arguments.newline == "lf" ? 'N' : '\0';
  return layout;
}

TableName table_of(const std::string& file, const Arguments& arguments) {
  TableName name{file, arguments.table};
  if (!name.is_csv() && name.table.empty()) throw Failure(file + ": --table is needed for an SQLite database");
  return name;
}

int finish(Report& report, const std::string& what, const Arguments& arguments, const Job& job, const Counts& counts) {
  report.add(what, fmt::format("{} -> {}", arguments.from, arguments.into), job, counts);
  report.finish();
  return counts.refusals == 0 ? exit_fine : exit_rejects;
}

// One of the three verbs; the table stands on the one side, the records on the other.
int run_verb(const std::string& verb, const Arguments& arguments) {
  const Layout layout = layout_of(arguments);
  const bool imports = verb == "import";
  const std::string& records = imports ? arguments.from : arguments.into;
  Job job{layout,
          table_of(imports ? arguments.into : arguments.from, arguments),
          records,
          arguments.rejects.empty() ? records + ".rejects.csv" : arguments.rejects,
          arguments.on_reject,
          arguments.replace  ? Existing::replace
          : arguments.append ? Existing::append
                             : Existing::refuse};
  Report report(arguments.json);
  const Counts counts = imports ? import_records(job) : verb == "export" ? export_table(job) : verify_records(job);
  return finish(report, verb, arguments, job, counts);
}

// A folder for the circle's files: the one that is wanted, or one that goes away.
class WorkFolder {
 public:
  explicit WorkFolder(const std::string& wanted) : passing_(wanted.empty()), path_(wanted) {
    if (passing_) {
      std::string name = (std::filesystem::temp_directory_path() / "record_exchange.XXXXXX").string();
      if (mkdtemp(name.data()) == nullptr) throw Failure(name + ": cannot be made");
      path_ = name;
    } else {
      std::filesystem::create_directories(path_);
    }
  }
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;
  ~WorkFolder() {
    std::error_code ignored;
    if (passing_) std::filesystem::remove_all(path_, ignored);
  }
  const std::filesystem::path& path() const { return path_; }

 private:
  bool passing_;
  std::filesystem::path path_;
};

int run_samples(const Arguments& arguments) {
  const WorkFolder work(arguments.work);
  Report report(arguments.json);
  const bool complete = run_circle(arguments.data, work.path(), report);
  if (arguments.work.empty()) report.say("The files of this run are removed; --work FOLDER keeps them.");
  report.finish();
  return complete ? exit_fine : exit_rejects;
}

void add_verb_options(CLI::App& verb, Arguments& arguments, const char* from, const char* into) {
  static const std::map<std::string, OnReject> policies{
      {"skip", OnReject::skip}, {"keep", OnReject::keep}, {"stop", OnReject::stop}};
  verb.add_option("-l,--layout", arguments.layout, "the record's layout, a copybook")->required();
  verb.add_option("from", arguments.from, from)->required();
  verb.add_option("to", arguments.into, into)->required();
  verb.add_option("-t,--table", arguments.table, "the table's name, in an SQLite database");
  verb.add_option("-c,--code-page", arguments.code_page, "number or name, in place of the layout's");
  verb.add_option("--newline", arguments.newline, "the byte of an EBCDIC page that is U+000A: nel (25) or lf (15)")
      ->check(CLI::IsMember({"nel", "lf"}));
  verb.add_option("-r,--rejects", arguments.rejects, "file for what is refused (<records>.rejects.csv)");
  verb.add_option("--on-reject", arguments.on_reject, "the row of a refused cell: skip, keep or stop")
      ->transform(CLI::CheckedTransformer(policies).description("{skip,keep,stop}"))
      ->default_str("skip");
  verb.add_flag("--json", arguments.json, "the report as JSON");
}

int run(int argc, char** argv) {
  Arguments arguments;
  CLI::App app(
      "Writes and reads mainframe record files from ordinary tables.\n"
      "Without a verb it runs the whole circle on its sample data.",
      "record_exchange");
  app.footer("Exit status: 0 all is well, 1 something was refused or differs, 2 the run failed.");
  app.set_version_flag("--version", RECORD_EXCHANGE_VERSION);
  app.require_subcommand(0, 1);
  app.add_flag("--json", arguments.json, "the report as JSON");
  app.add_option("--data", arguments.data, "folder of the sample data");
  app.add_option("--work", arguments.work, "folder for the circle's files, which else are removed");
  CLI::App& write = *app.add_subcommand("export", "a table into a record file");
  add_verb_options(write, arguments, "SQLite database or .csv file", "record file");
  CLI::App& read = *app.add_subcommand("import", "a record file into a table");
  add_verb_options(read, arguments, "record file", "SQLite database or .csv file");
  auto* const replace = read.add_flag("--replace", arguments.replace, "replace the table if it exists");
  read.add_flag("--append", arguments.append, "append to the table if it exists")->excludes(replace);
  CLI::App& verify = *app.add_subcommand("verify", "compare a table with a record file, cell by cell");
  add_verb_options(verify, arguments, "SQLite database or .csv file", "record file");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? exit_fine : exit_failure;
  }
  const Library library;
  const auto verbs = app.get_subcommands();
  return verbs.empty() ? run_samples(arguments) : run_verb(verbs.front()->get_name(), arguments);
}

}  // namespace
}  // namespace record_exchange

int main(int argc, char** argv) {
  try {
    return record_exchange::run(argc, argv);
  } catch (const std::exception& failure) {
    fmt::print(stderr, "record_exchange: {}\n", failure.what());
    return record_exchange::exit_failure;
  }
}
