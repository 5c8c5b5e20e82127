// kr xml: XML files formatted, merged, searched and counted.
#include <CLI/CLI.hpp>
#include <memory>

#include "apps/kr/commands.h"
#include "apps/kr/xml/operations.h"

namespace kr_app {
namespace {

struct Arguments {
  std::string in;
  std::string other;  // the reference of a merge, the name of a search
  std::string out = "-";
  FindOptions find;
  std::uint32_t page = 0;
};

CLI::App* AddOperation(CLI::App* xml, Arguments& arguments, const char* name,
                       const char* description, const char* examples) {
  CLI::App* operation = xml->add_subcommand(name, description);
  operation->add_option("--codepage", arguments.page,
                        "The ANSI code page that texts are kept in (default 1251); what it does "
                        "not hold becomes \"_\" and is counted");
  operation->footer(std::string("Examples:\n") + examples);
  return operation;
}

void AddOutput(CLI::App* operation, Arguments& arguments) {
  operation->add_option("-o,--output", arguments.out, "The file to write; - is standard output")
      ->capture_default_str();
}

}  // namespace

void AddXml(CLI::App& kr) {
  auto arguments = std::make_shared<Arguments>();
  Arguments& a = *arguments;
  // The page counts from before the first text.
  const auto run = [arguments](auto work) {
    return [arguments, work] {
      if (arguments->page != 0) {
        XmlUseCodePage(arguments->page);
      }
      work(*arguments);
    };
  };
  CLI::App* xml = kr.add_subcommand("xml", "Format, merge, search and count XML files");
  xml->require_subcommand(1);
  xml->footer(
      "Examples:\n"
      "  kr xml fmt in.xml -o out.xml\n"
      "  kr xml merge settings.xml defaults.xml -o settings.xml\n"
      "  kr xml find in.xml item --attr id=7");

  CLI::App* fmt = AddOperation(xml, a, "fmt", "Parse a file and write it, one line a tag",
                               "  kr xml fmt in.xml -o out.xml\n"
                               "  kr xml fmt - < in.xml | less");
  fmt->add_option("IN", a.in, "The file to read; - is standard input")->required();
  AddOutput(fmt, a);
  fmt->callback(run([](const Arguments& given) { XmlFormat(given.in, given.out); }));

  CLI::App* merge = AddOperation(
      xml, a, "merge", "Add to a file what a reference has and it lacks",
      "  kr xml merge settings.xml defaults.xml -o settings.xml\n"
      "Elements correspond by name and attributes; the reference's attribute attrs_to_be_ignored,\n"
      "names divided by |, leaves attributes out of that comparison.");
  merge->add_option("TARGET", a.in, "The file to complete")->required();
  merge->add_option("REFERENCE", a.other, "The file with what may be missing")->required();
  AddOutput(merge, a);
  merge->callback(run([](const Arguments& given) { XmlMerge(given.in, given.other, given.out); }));

  CLI::App* find = AddOperation(xml, a, "find", "Print the first element of a name, or all",
                                "  kr xml find in.xml item --all\n"
                                "  kr xml find in.xml item --attr id=7\n"
                                "A line each: line:column name attributes: text");
  find->add_option("FILE", a.in, "The file to search; - is standard input")->required();
  find->add_option("NAME", a.other, "The element's name")->required();
  find->add_option("--attr", a.find.attribute, "Only with this attribute, NAME=VALUE");
  find->add_flag("--all", a.find.all, "All of them, not just the first");
  find->callback(run([](const Arguments& given) { XmlFind(given.in, given.other, given.find); }));

  CLI::App* stats = AddOperation(xml, a, "stats", "Count what is in a file, and what it costs",
                                 "  kr xml stats in.xml");
  stats->add_option("FILE", a.in, "The file to count; - is standard input")->required();
  stats->callback(run([](const Arguments& given) { XmlStats(given.in); }));
}

}  // namespace kr_app
