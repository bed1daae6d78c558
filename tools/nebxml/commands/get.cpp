#include <functional>
#include <memory>
#include <optional>

#include "command_line/command.h"
#include "command_line/options.h"
#include "commands/commands.h"
#include "documents/columns.h"
#include "documents/node_reading.h"
#include "documents/values.h"
#include "formats/result_writer.h"
#include "terminal/output.h"

namespace nebxml {
namespace {

struct GetOptions {
  Input input;
  Selection selection;
  bool isCount = false;
  std::optional<std::string> attribute;
  bool isOfAttributes = false;
  std::optional<std::string> columns;
  std::optional<std::string> type;
  std::string format{kDefaultResultFormat};
  bool hasHeader = true;
};

// What is written of each match.
struct Content {
  std::vector<std::string> columns;
  std::function<void(ResultWriter &writer, const XmlNode *match)> write;
};

void dropWithoutAttributes(std::vector<XmlNode *> &matches, const GetOptions &options) {
  std::erase_if(matches, [&options](const XmlNode *match) {
    if (options.attribute) return !attributeValue(match, *options.attribute);
    return options.isOfAttributes && attributesAt(match).empty();
  });
}

std::vector<XmlNode *> answers(const Document &document, const GetOptions &options) {
  std::vector<XmlNode *> matches = select(document, options.selection);
  dropWithoutAttributes(matches, options);
  if (!matches.empty()) return matches;
  const std::string name = options.attribute ? " '" + *options.attribute + "'" : "";
  throw refusal(document, options.selection, "no attribute" + name + " at path");
}

ExitStatus printCount(const Document &document, const GetOptions &options) {
  std::vector<XmlNode *> matches = selectAll(document, options.selection.pattern);
  dropWithoutAttributes(matches, options);
  writeStandardOutput(std::to_string(matches.size()) + '\n');
  return matches.empty() ? ExitStatus::notFound : ExitStatus::done;
}

std::string valueOf(const Document &document, const XmlNode *match, const GetOptions &options) {
  const std::string value = options.attribute
                                ? attributeValue(match, *options.attribute).value_or("")
                                : std::string(nodeStrings(match).value);
  return inRequiredForm(document, options.selection, options.type, value);
}

Content contentOf(const Document &document, const GetOptions &options) {
  if (options.columns) {
    const Columns columns(document, *options.columns);
    return {columns.names(), [columns](ResultWriter &writer, const XmlNode *match) {
              writer.writeRow(columns.valuesAt(match));
            }};
  }
  if (options.isOfAttributes) {
    return {{"name", "value"}, &ResultWriter::writeAttributes};
  }
  if (options.attribute || options.type) {
    return {{"value"}, [&](ResultWriter &writer, const XmlNode *match) {
              writer.writeValue(valueOf(document, match, options));
            }};
  }
  return {{"value"}, &ResultWriter::writeNode};
}

void printMatches(const Document &document, const GetOptions &options) {
  const Content content = contentOf(document, options);
  const std::vector<XmlNode *> matches = answers(document, options);
  if (options.type) {
    // A value of another type is reported before anything is printed.
    for (const XmlNode *match : matches) valueOf(document, match, options);
  }
  const auto writer = makeResultWriter(
      document, {options.format, content.columns, options.hasHeader, options.selection.takesAll});
  for (const XmlNode *match : matches) content.write(*writer, match);
  writer->end();
}

ExitStatus get(const GetOptions &options) {
  const Document document(options.input.fileName, options.input.reading);
  if (options.isCount) return printCount(document, options);
  printMatches(document, options);
  return ExitStatus::done;
}

void requireTable(const GetOptions &options) {
  if (options.columns && !hasColumns(options.format)) {
    throw CLI::ValidationError("--columns", "needs --format csv, tsv or json");
  }
  if (!options.hasHeader && !hasHeader(options.format)) {
    throw CLI::ValidationError("--no-header", "needs --format csv or tsv");
  }
}

void addContent(CLI::App *command, GetOptions &options) {
  CLI::Option *attribute =
      command->add_option("--attr", options.attribute, "an attribute: name or prefix:name")
          ->type_name("NAME");
  CLI::Option *attributes =
      command->add_flag("--attrs", options.isOfAttributes, "all attributes, as NAME=VALUE")
          ->excludes(attribute);
  addType(command, options.type);
  CLI::Option *type = command->get_option("--type")->excludes(attributes);
  CLI::Option *columns =
      command
          ->add_option("--columns", options.columns,
                       "a row for each match, such as @name,mtu,a.b; . is the match itself")
          ->type_name("LIST")
          ->excludes(attribute)
          ->excludes(attributes)
          ->excludes(type);
  CLI::Option *format = command->add_option("--format", options.format, "how matches are written")
                            ->type_name("FORMAT")
                            ->check(CLI::IsMember(resultFormatNames()));
  command->add_flag_callback(
      "--no-header", [&options] { options.hasHeader = false; },
      "without the line of the column names");
  command->add_flag("--count", options.isCount, "print only how many matches there are")
      ->excludes(type)
      ->excludes(columns)
      ->excludes(format);
}

}  // namespace

void addGet(CLI::App &app, ExitStatus &status) {
  const auto options = std::make_shared<GetOptions>();
  CLI::App *command = addCommand(
      app, {"get",
            "print what a path finds",
            {"nebxml get site.xml site.port",
             "nebxml get site.xml site.server --all --format csv --columns @name,port"}});
  addFile(command, options->input);
  addPath(command, options->selection.pattern);
  addAll(command, options->selection, "print every match, not only the first");
  addContent(command, *options);
  command->callback([options, &status] {
    requireTable(*options);
    status = get(*options);
  });
}

}  // namespace nebxml
