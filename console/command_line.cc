// The options are defined once, for CLI11, with the texts that --help shows. Checks of single
// options are the library's; checks between options follow in whyUnusable().

#include "console/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>

#include "console/commands.h"
#include "console/entity.h"
#include "console/picture.h"
#include "explain/evaluation.h"
#include "lisp_worker/client/limits.h"

namespace lisp_worker::console {
namespace {

constexpr const char* kDescription =
    R"(Runs programs in the worker's LISP dialect against a drawing in memory, shows what each comes to
and what it has changed, explains errors and refused calls, and draws what became of the drawing. All
programs share the worker and the drawing, in the order given. Without a program it reads forms from
a prompt, where it asks you for picks; --save and --picture write at its end. Forms that -e gives are
run as programs. The name - is that of standard input.)";

constexpr const char* kNotes = R"(
A program can say in comments how it wants to be run. Each takes a line of its own:
  ;@ drawing FILE                   begin with this drawing; paths count from the program's directory
  ;@ load FILE                      run this library first; one named by several runs once
  ;@ answer CALL TEXT               send TEXT, as it stands, as the answer to the next host call
                                    CALL that has none yet: ;@ answer GETPOINT (10 20 0)
  ;@ entity LIST                    put an entity into the drawing first:
                                    ;@ entity ((0 "CIRCLE") (8 "HOLES") (10 (5 5 0)) (40 3))
  ;@ system S (NUMBERS)             before the program, make S (0 to 4) the coordinate system with
                                    these origin_x origin_y a b c d z_scale z_offset
  ;@ system S at-call N (NUMBERS)   the same while the program's call N waits for its answer
  ;@ keep                           what it has drawn stays in the drawing, also when it fails
  ;@ picture axes cells             what its picture shows besides the drawing
  ;@ picture sheet A4 landscape scale 1:10 units mm window X1,Y1,X2,Y2
                                    the sheet and the part that it shows, unless options say so
  ;@ expect value DATUM             the program ends with this value,
  ;@ expect error MESSAGE           or with this message,
  ;@ expect refusal STATUS          or with this status and nothing else
  ;@ expect entities N              the drawing holds so many entities then,
  ;@ expect entity LIST             and one that has these groups

Calls without an answer in the program are answered from the --answers file, by you with --ask, from
the drawing (SSGET, ENTGET, ENTMAKE, ENTMAKEX, ENTMOD, OSNAP, COMMAND, COMMAND-S) or by rule:
GETPOINT picks (0 0 0), (100 50 0), (200 100 0) and so on, GETCORNER the point (100 50 0) away from
its base point, GETDIST 10. COMMAND knows
)";

constexpr const char* kSystemsAndCodes = R"(
A program is one change of the drawing. When it ends without a value, because of an error, a limit, a
refused call under --strict, Ctrl-C or a dead worker, the drawing is what it was; --keep and ";@ keep"
keep what was drawn. What lines such as ";@ entity" put into the drawing first stays.

Programs run under coordinate context 1, with the systems of the drawing file, or else
  0  the world, in millimetres
  1  a plan: turned left by 90 degrees, its origin at (100 50 0)
  2  inches: 25.4 mm each
  3  a sheet at 1:50
  4  a shadow on the x axis, which cannot be converted back: a target only for errors

Exit codes: 0 every program ended as it expects, or with a value if it expects nothing; 1 some
program did not, check has found an error, or format --check a file that would change; 2 the command
line or a file could not be used; 3 the worker could not be started or broke off; 4 as 0, but a host
call was refused in a program that does not say what it expects; 5 a test has failed. The prompt ends
with 0 at a terminal, and replaces a worker that breaks off.
)";

std::string notes() {
  std::string text = kNotes;
  for (const std::string_view summary : commandSummaries()) {
    text += "  " + std::string(summary) + "\n";
  }
  return text + kSystemsAndCodes;
}

void definePageOptions(CLI::App& app, PageTexts& texts) {
  app.add_option("--sheet", texts.sheet,
                 "Draw it as it is at the end, to scale on a sheet of paper: A4, A3, A2, A1, A0 or "
                 "Letter")
      ->type_name("NAME");
  app.add_flag("--landscape", texts.is_landscape, "Turn the sheet");
  app.add_option("--scale", texts.scale,
                 "The scale on the sheet, such as 1:10; else the largest standard one that fits")
      ->type_name("N:M");
  app.add_option("--units", texts.units,
                 "The length of 1 in the drawing, for the sheet: mm, cm, m or in; else mm")
      ->type_name("UNIT");
  app.add_option("--window", texts.window, "Show what lies between these corners, and nothing else")
      ->type_name("X1,Y1,X2,Y2");
}

// The parser, with every option tied to a field of `line`.
void defineOptions(CLI::App& app, CommandLine& line) {
  app.set_help_flag("-h,--help", "This text; --help entities: the groups of entities");
  app.add_flag("--version", line.version, "The version of this program");
  app.name("\nWhat it takes:");
  app.add_option("PROGRAM", line.program_paths, "Files in the dialect");
  app.add_option("-e", line.forms, "Run this form; may be given several times")
      ->type_name("FORM")
      ->allow_extra_args(false);
  app.add_option("--worker", line.worker_path, "The worker; else lisp_worker beside this program")
      ->type_name("PATH");
  app.add_option("--load", line.library_paths, "Run this library first")
      ->type_name("FILE")
      ->allow_extra_args(false);
  app.add_option("--drawing", line.drawing_path, "Begin with this drawing, a JSON file")
      ->type_name("FILE");
  app.add_option("--save", line.save_path, "Write the drawing at the end")->type_name("FILE");
  app.add_option("--picture", line.picture_paths,
                 "Draw it before and after, as .svg, or as .png or .pdf up to 16 MiB of SVG")
      ->type_name("FILE")
      ->allow_extra_args(false);
  definePageOptions(app, line.page_texts);
  app.add_flag("--axes", line.shows_axes, "Show the coordinate systems in the picture");
  app.add_flag("--cells", line.shows_cells, "Show the cells in the picture");
  app.add_option("--answers", line.answers_path,
                 "Answer host calls from lines such as GETPOINT 10,20, before you are asked")
      ->type_name("FILE");
  app.add_flag("--ask", line.asks, "Ask you for points, distances and selections");
  app.add_flag("--conversation", line.shows_conversation,
               "Show all that goes to the worker and comes from it: programs, host calls, answers");
  app.add_flag("--all", line.shows_all,
               "Show every change and the whole of results, however many and long");
  app.add_flag("--brief", line.is_brief, "Without --conversation: as it is anyway");
  app.add_flag("--keep", line.keeps, "Keep what a program has drawn before it failed");
  app.add_flag("--strict", line.is_strict, "End a program at the first host call that is refused");
  app.add_flag("--dry-run", line.is_dry, "Show what would change, and do not write --save's file");
  app.add_flag("--trace", line.traces,
               "List the calls of functions and of the host: the first 400 of a program and the "
               "last 100");
  app.add_flag("--profile", line.profiles, "Show where the steps and the time of programs go");
  app.add_flag("--coverage", line.shows_coverage,
               "Show how often each line was evaluated, and which branches never");
  app.add_option("--coverage-file", line.coverage_path, "Write that as a tracefile of lcov")
      ->type_name("FILE");
  app.add_option("--max-calls", line.host_call_count_max,
                 "Host calls that a program may make; else 10000")
      ->type_name("N")
      ->check(CLI::Range(1, static_cast<int>(client::kStepCountMax)));
  app.add_option("--time-limit", line.time_limit_seconds,
                 "Seconds that the worker may take for one answer; else 60")
      ->type_name("N")
      ->check(CLI::Range(1, 86400));
  app.add_flag("--at-error", line.at_error, "debug begins where the program has failed");
  app.add_flag("--check", line.only_names,
               "format changes nothing, and names the files that would change");
  app.add_option("--port", line.port,
                 "The port of watch, else one that is free; let dap serve clients there")
      ->type_name("N")
      ->check(CLI::Range(1, 65535));
  app.add_flag("--json", line.is_json,
               "Calls, changes and results as JSON objects, one in a line, and no other text");
  app.add_flag_function(
      "--no-history", [&line](std::int64_t) { line.keeps_history = false; },
      "Do not keep the forms of the prompt in a file");
  app.add_option_function<std::string>(
         "--color",
         [&line](const std::string& wish) {
           line.color = wish == "always"  ? ColorWish::Always
                        : wish == "never" ? ColorWish::Never
                                          : ColorWish::Auto;
         },
         "Colours: auto, at a terminal unless NO_COLOR is set or TERM is dumb; always; never")
      ->type_name("WHEN")
      ->check(CLI::IsMember({"auto", "always", "never"}));
}

// The files and forms in the order of the command line.
std::vector<ProgramArgument> programsInOrder(const CLI::App& app, const CommandLine& line) {
  std::vector<ProgramArgument> programs;
  const CLI::Option* const files = app.get_option("PROGRAM");
  const CLI::Option* const forms = app.get_option("-e");
  auto path = line.program_paths.begin();
  auto form = line.forms.begin();
  for (const CLI::Option* const option : app.parse_order()) {
    if (option == files && path != line.program_paths.end()) programs.push_back({*path++, false});
    if (option == forms && form != line.forms.end()) programs.push_back({*form++, true});
  }
  return programs;
}

// The mistake in the options of pages; otherwise empty.
std::string whyNoPage(const CommandLine& line) {
  if (line.page.sheet && (line.shows_axes || line.shows_cells)) {
    return "a sheet shows the drawing alone: not with --axes and --cells";
  }
  const bool has_page = line.page.sheet || line.page.window;
  if (has_page && line.picture_paths.empty() && !line.programs.empty()) {
    return "--sheet and --window need --picture";
  }
  return "";
}

// The mistake in a command line for `format`, or in --check without it; otherwise empty.
std::string whyNoFormatting(const CLI::App& app, const CommandLine& line) {
  if (!line.format) return line.only_names ? "--check is for format; check is a word in front" : "";
  if (line.program_paths.empty()) return "format needs a program";
  for (const CLI::Option* const option : app.parse_order()) {
    const std::string name = option->get_name();
    if (name != "PROGRAM" && name != "--check" && name != "--color") {
      return "format takes --check only";
    }
  }
  return "";
}

// The mistake in a command line for `dap`; otherwise empty.
std::string whyNoAdapter(const CLI::App& app, const CommandLine& line) {
  if (!line.dap) return "";
  for (const CLI::Option* const option : app.parse_order()) {
    const std::string name = option->get_name();
    if (name != "--port" && name != "--worker" && name != "--color") {
      return "dap takes --port and --worker only; the editor says what to run";
    }
  }
  return "";
}

// The mistake in options of which each can be read; otherwise empty.
std::string whyUnusable(const CommandLine& line) {
  const bool records =
      line.traces || line.profiles || line.shows_coverage || !line.coverage_path.empty();
  if (line.programs.empty()) {
    if (line.check) return "check needs a program";
    if (line.test) return "test needs a program";
    if (records) return "--trace, --profile and --coverage need a program";
  }
  if (line.is_brief && line.shows_conversation) {
    return "--brief is without the conversation, and --conversation with it";
  }
  const auto input_count = std::count(line.program_paths.begin(), line.program_paths.end(), "-");
  if (input_count > 1) return "standard input, -, can be read only once";
  if (input_count != 0 && line.asks) return "--ask needs the keyboard, and - reads standard input";
  if (line.is_json && line.programs.empty()) return "--json needs a program, -e or -";
  if (line.is_json && (records || line.asks || line.check || line.test)) {
    return "--json is for programs that run: not with --ask, --trace, --profile, --coverage, check "
           "and test";
  }
  const bool draws = !line.save_path.empty() || !line.picture_paths.empty() || line.shows_axes ||
                     line.shows_cells || line.page.sheet || line.page.window;
  if (line.test && (draws || line.asks || line.shows_conversation || line.shows_all || line.keeps ||
                    line.is_dry)) {
    return "test takes --load, --drawing, --answers, --strict, --max-calls, --time-limit, --trace, "
           "--profile and --coverage only";
  }
  const bool runs_otherwise = draws || records || line.asks || line.shows_conversation ||
                              line.shows_all || line.keeps || line.is_strict || line.is_dry ||
                              line.host_call_count_max != 0 || line.time_limit_seconds != 0 ||
                              !(line.drawing_path + line.answers_path).empty();
  if (line.check && runs_otherwise)
    return "check runs nothing; of the options it takes --load only";
  if (line.watch && (line.program_paths.size() != 1 || !line.forms.empty())) {
    return "watch needs one program";
  }
  if (line.watch &&
      (records || line.is_json || line.asks || line.shows_conversation || line.shows_all ||
       line.keeps || line.is_dry || !line.picture_paths.empty() || line.page.sheet ||
       line.page.window || !(line.save_path + line.answers_path).empty())) {
    return "watch takes --port, --load, --drawing, --strict, --max-calls, --time-limit and "
           "--worker only";
  }
  if (!line.watch && !line.dap && line.port != 0) return "--port is for watch and dap";
  if (line.debug && (line.program_paths.size() != 1 || !line.forms.empty())) {
    return "debug needs one program";
  }
  if (line.debug && (records || line.is_json || draws || line.is_brief || line.shows_conversation ||
                     line.shows_all || line.keeps || line.is_dry)) {
    return "debug takes --at-error, --load, --drawing, --answers, --ask, --strict, --max-calls, "
           "--time-limit and --worker only";
  }
  if (!line.debug && line.at_error) return "--at-error is for debug";
  for (const std::string& path : line.picture_paths) {
    const std::string reason = whyNoPicture(path);
    if (!reason.empty()) return "--picture " + reason;
  }
  return whyNoPage(line);
}

// A message about the first unknown option; empty when all are known.
std::string whyUnknownOption(const CLI::App& app, std::span<const std::string_view> arguments) {
  std::vector<std::string> names;
  for (const CLI::Option* const option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  for (const std::string_view argument : arguments) {
    if (argument == "--") break;
    const std::string name(argument.substr(0, argument.find('=')));
    if (!name.starts_with("-") || name == "-" || app.get_option_no_throw(name) != nullptr) continue;
    if (name.find_first_of("0123456789.") == 1) continue;  // A number.
    const auto near = explain::similarNames(name, names);
    return "there is no option " + name + (near.empty() ? "" : "; did you mean " + near[0] + "?");
  }
  return "";
}

}  // namespace

std::string usage() {
  CommandLine line;
  CLI::App app;
  defineOptions(app, line);
  return "usage: lisp_console [OPTIONS] [PROGRAM...]\n"
         "       lisp_console [OPTIONS] -e FORM...\n"
         "       lisp_console check [--load FILE] PROGRAM...\n"
         "       lisp_console test [OPTIONS] PROGRAM...\n"
         "       lisp_console watch [--port N] [OPTIONS] PROGRAM\n"
         "       lisp_console debug [--at-error] [OPTIONS] PROGRAM\n"
         "       lisp_console dap [--port N]\n"
         "       lisp_console format [--check] PROGRAM...\n"
         "       lisp_console lsp\n\n" +
         std::string(kDescription) + "\n" + app.help("", CLI::AppFormatMode::Sub) + notes();
}

std::string usage(std::string_view topic) {
  return topic == "entities" ? entityReference() : usage();
}

std::optional<CommandLine> parseCommandLine(std::span<const std::string_view> arguments,
                                            const std::string& default_worker, std::string& error) {
  CommandLine line;
  line.worker_path = default_worker;
  // A word in front, not an option: so that a program may be named like it behind "--".
  line.check = !arguments.empty() && arguments.front() == "check";
  line.test = !arguments.empty() && arguments.front() == "test";
  line.watch = !arguments.empty() && arguments.front() == "watch";
  line.debug = !arguments.empty() && arguments.front() == "debug";
  line.format = !arguments.empty() && arguments.front() == "format";
  line.lsp = !arguments.empty() && arguments.front() == "lsp";
  line.dap = !arguments.empty() && arguments.front() == "dap";
  const bool has_word =
      line.check || line.test || line.watch || line.debug || line.format || line.lsp || line.dap;
  std::vector<std::string> reversed(arguments.begin() + (has_word ? 1 : 0), arguments.end());
  const auto options_end = std::find(reversed.begin(), reversed.end(), "--");
  const auto asks_for = [&](const char* option) {
    return std::find(reversed.begin(), options_end, option) != options_end;
  };
  line.help = asks_for("--help") || asks_for("-h");
  line.version = asks_for("--version");
  if (line.help) {
    const auto topic = std::find_if(reversed.begin(), options_end, [](const std::string& argument) {
      return !argument.starts_with("-");
    });
    if (topic != options_end) line.help_topic = *topic;
  }
  if (line.help || line.version) return line;
  if (line.lsp) {
    // Editors say so to servers that can do otherwise.
    std::erase(reversed, "--stdio");
    if (reversed.empty()) return line;
    error = "lsp takes nothing";
    return std::nullopt;
  }
  std::reverse(reversed.begin(), reversed.end());  // As the parser takes them.
  CLI::App app;
  defineOptions(app, line);
  try {
    app.parse(reversed);
  } catch (const CLI::ParseError& failure) {
    error = whyUnknownOption(app, arguments);
    if (error.empty()) error = failure.what();
    std::replace(error.begin(), error.end(), '\n', ' ');
    return std::nullopt;
  }
  line.programs = programsInOrder(app, line);
  const auto page = readPage(line.page_texts, "--", error);
  if (!page) return std::nullopt;
  line.page = *page;
  error = whyNoFormatting(app, line);
  if (error.empty()) error = whyNoAdapter(app, line);
  if (error.empty()) error = whyUnusable(line);
  if (!error.empty()) return std::nullopt;
  return line;
}

}  // namespace lisp_worker::console
