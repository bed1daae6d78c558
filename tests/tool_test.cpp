// The command line tool, run as its users run it: through a shell, on files in a directory.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <iconv.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "support/data.h"
#include "support/emulation.h"
#include "support/tables.h"
#include "support/trees.h"

namespace {

using tables::repeated;

// The one of this build, or another one that the environment names, such as one for Windows, which
// an emulator runs.
std::string toolUnderTest() {
  const char *other = std::getenv("NEBXML");
  return other == nullptr ? NEBXML_EXECUTABLE : other;
}

struct Outcome {
  int status;
  std::string output;
  std::string errors;
};

class Tool : public ::testing::Test {
 protected:
  void SetUp() override { std::filesystem::create_directory(files()); }
  void TearDown() override { std::filesystem::remove_all(files()); }

  // Runs a shell command in the directory of the files; $nebxml is the tool.
  static Outcome shell(const std::string &command, const std::string &input = "") {
    write("../input", input);
    const std::string line = "cd '" + files() + "' && nebxml='" + toolUnderTest() +
                             "' samples='" NEB_XML_SAMPLES_DIR "'\n(" + command +
                             ") <../input >../output 2>../errors";
    const int status = std::system(line.c_str());  // NOLINT: the point is to use a shell
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read("../output"), read("../errors")};
  }

  // Windows has an empty device of this name in every folder.
  static bool isForWindows() { return shell("$nebxml check NUL").status == 1; }

  static void write(const std::string &name, const std::string &text) {
    std::ofstream(files() + name, std::ios::binary) << text;
  }

  static std::string read(const std::string &name) { return trees::readFile(files() + name); }

  static std::string files() { return ::testing::TempDir() + "files/"; }
};

struct Case {
  std::string command, input, output, errors;
  int status;
  bool isForPosix;
};

std::vector<Case> casesOf(const std::string &name) {
  std::vector<Case> cases;
  for (const std::string &line : tables::linesOf(name)) {
    const std::string text = line.substr(2);
    if (line[0] == '$') {
      cases.push_back({text, "", "", "", -1, false});
    } else if (line[0] == '?') {
      cases.back().status = std::stoi(text);
    } else if (line[0] == '&') {
      cases.back().isForPosix = text == "posix";
    } else {
      Case &last = cases.back();
      (line[0] == '<' ? last.input : line[0] == '>' ? last.output : last.errors) = text;
    }
  }
  return cases;
}

// tool, and the tables of single commands.
std::vector<std::string> tablesOfCases() {
  std::vector<std::string> names;
  for (const auto &file : std::filesystem::directory_iterator(NEB_XML_DATA_DIR)) {
    const std::string name = file.path().stem();
    if (name.starts_with("tool")) names.push_back(name);
  }
  return names;
}

class ToolTable : public Tool, public ::testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(Tool, ToolTable, ::testing::ValuesIn(tablesOfCases()),
                         [](const auto &table) { return table.param; });

// Few C libraries convert as much as glibc. Where an emulator runs the tests, glibc may have come
// without its converters. IBM037 is one of those that only glibc has.
bool hasEncodings() {
#if defined(__GLIBC__)
  if (!kIsEmulated) return true;
#endif
  const iconv_t converter = iconv_open("IBM037", "UTF-8");
  // NOLINTNEXTLINE(performance-no-int-to-ptr): as POSIX defines it
  if (converter == reinterpret_cast<iconv_t>(-1)) return false;
  return iconv_close(converter) == 0;
}

constexpr char kNoEncodings[] = "the C library has few converters of encodings";

TEST_P(ToolTable, AnswersWithStatusOutputAndCause) {
  if (GetParam() == "tool_encodings" && !hasEncodings()) GTEST_SKIP() << kNoEncodings;
  const std::string two = "<a><b>1</b><b x='2' p:x='3'>4</b></a>\n<z>5</z>";
  const std::string one = "<a><b>1</b><b x='2' p:x='3'>4</b></a>\n<!-- -->";
  write("bad.xml", "<a><b></a>");
  write("one.xml", one);
  write("two.xml", two);
  write("out.xml", two + two);
  write("long.xml", "<a>" + std::string(100'000, 'v') + "</a>");
  write("large.xml", "<d>" + repeated("<c/>", 200'000) + repeated("<e>", 300'000) +
                         repeated("</e>", 300'000) + "</d>");
  // Shows what check says of the input, and whether it says the same of a file and of a pipe.
  write("show",
        "cat >F; $nebxml check F >G 2>&1; $nebxml check - <F 2>&1 | sed 's/^-:/F:/' >H; "
        "cat G; cmp G H");
  std::vector<Case> cases = casesOf(GetParam() + ".txt");
  if (isForWindows()) {
    const size_t leftOut = std::erase_if(cases, [](const Case &row) { return row.isForPosix; });
    std::cout << "Left out: " << leftOut << " rows, which need POSIX; run: " << cases.size()
              << '\n';
  }
  for (const Case &row : cases) {
    SCOPED_TRACE(row.command);
    const Outcome outcome = shell(row.command, row.input == "one" ? one : row.input);
    EXPECT_EQ(outcome.status, row.status);
    EXPECT_EQ(outcome.output, row.output);
    EXPECT_EQ(outcome.errors.empty(), row.errors.empty()) << outcome.errors;
    EXPECT_NE(outcome.errors.find(row.errors), std::string::npos) << outcome.errors;
  }
  EXPECT_EQ(read("one.xml") + read("two.xml"), one + two);
  char version[32] = "";
  EXPECT_EQ(NEB_XML_GetVersion(version, sizeof version), 0U);
  EXPECT_EQ(shell("$nebxml --version").output,
            version + std::string("\nkernel: ") + NEB_XML_GetKernelName() + "\n");
}

TEST_F(Tool, EditsChangeNoOtherByte) {
  const std::string before =
      "\xEF\xBB\xBF<?xml version='1.0'?>\r\n<!DOCTYPE a [ <!-- > --> ]>\r\n<a>\r\n\t<!-- é -->"
      "<b  k='1'\tl = \"2\" /> <!-- b -->\r\n\t<c>\t<![CDATA[x]]></c  >\r\n</a>\r\n\r\n<?end?>";
  const std::string edits[][3] = {
      {"set F a.c v", "\t<![CDATA[x]]>", "v"},
      {"set F a.b '<'", " />", ">&lt;</b>"},
      {"set F a.b v --attr k", "'1'", "'v'"},
      {"set F a.b v --attr m", "\"2\"", "\"2\"\tm=\"v\""},
      {"del F a.b --attr k", "  k='1'", ""},
      {"del F a.c", "\r\n\t<c>\t<![CDATA[x]]></c  >", ""},
      {"import F a F a.b", "</c  >", "</c  >\r\n\t<b k=\"1\" l=\"2\"/>"},
      {"import F a.c F a.b --before", "<c>", "<b k=\"1\" l=\"2\"/>\r\n\t<c>"},
      {"rename F a.b.@k p:k", "k='1'", "p:k='1'"},
      {"rename F a.c d", "c>\t<![CDATA[x]]></c  >", "d>\t<![CDATA[x]]></d  >"},
      {"add F a.c d '<' --attr e=f --after", "</c  >", "</c  >\r\n\t<d e=\"f\">&lt;</d>"},
      {"add F a '<d>\n<e/></d>' --first", "\r\n\t<!-- é -->",
       "\r\n\t<d>\r\n\t\t<e/>\r\n\t</d>\r\n\t<!-- é -->"},
      {"edit F --set a.c=v --rename a.c=d", "c>\t<![CDATA[x]]></c  >", "d>v</d  >"},
  };
  for (const auto &[command, from, to] : edits) {
    std::string after = before;
    after.replace(before.find(from), from.size(), to);
    for (const std::string destination : {"", " -o O", " --in-place"}) {
      write("F", before);
      write("O", "");
      const Outcome outcome =
          shell("chmod 624 F; $nebxml " + command + destination + " && stat -c %a F >&2");
      EXPECT_EQ(outcome.errors, "624\n");
      EXPECT_EQ(outcome.output + read("O") + read("F"),
                destination == " --in-place" ? after : after + before)
          << command + destination;
    }
  }
}

// Random edits of a file and of its twin in UTF-8. A snowman is a reference in some encodings.
TEST_F(Tool, EditsInOtherEncodingsAreThoseInUtf8) {
  if (!hasEncodings()) GTEST_SKIP() << kNoEncodings;
  constexpr size_t kElements = 9, kEdits = 12, kOwn = 4;
  const std::string encodings[][2] = {{"windows-1252", "é € Ÿ ~"}, {"ISO-8859-1", "é ÿ £ \\"},
                                      {"KOI8-R", "п ж Ъ ─"},       {"Shift_JIS", "ソ 表 ｱ 語"},
                                      {"EUC-JP", "ソ 表 語 α"},    {"GB18030", "語 é 😀 㐀"},
                                      {"UTF-16", "é 語 😀 ਊ"},      {"UTF-32BE", "é 語 😀 ਊ"}};
  std::mt19937 random(1);
  for (const auto &[encoding, own] : encodings) {
    std::istringstream list(own + " ☃ ☃ < & a ; # x 0 1");
    const std::vector<std::string> characters(std::istream_iterator<std::string>(list), {});
    const auto text = [&](size_t kinds) {
      std::string result;
      for (size_t left = random() % 9; left > 0; --left) result += characters[random() % kinds];
      return result;
    };
    std::string document = "<?xml version='1.0' encoding='UTF-8'?>\r\n<r>\n";
    for (size_t i = 0; i < kElements; ++i) {
      document += "<e k='" + text(kOwn) + "'>" + text(kOwn) + "</e><!--" + text(kOwn) + "-->\n";
    }
    write("U", document + "</r>");
    std::string edits = "E=" + encoding + "\n" + R"(
      sed "s/'UTF-8'/'$E'/" U | iconv -t $E >F; cp U before
      edit() {
        for file in F U; do $nebxml $1 $file "$2" "$3" $4 $5 --in-place 2>>refused; done
        iconv -f $E F | sed "s/'$E'/'UTF-8'/; s/&#x2603;/☃/g" | cmp - U || echo "$@"
      })";
    for (size_t i = 0; i < kEdits; ++i) {
      const std::string path = " r.e." + std::to_string(random() % kElements + 1);
      const std::string value = " '" + text(characters.size()) + "'";
      const std::string forms[] = {"set" + path + value, "set" + path + value + " --attr k",
                                   "set" + path + value + " --attr m", "import r U" + path,
                                   "del" + path + " --attr=k"};
      edits += "\nedit " + forms[random() % std::size(forms)];
    }
    edits += "\n$nebxml diff F U && ! cmp -s U before && echo edited";
    EXPECT_EQ(shell(edits).output, "edited\n") << edits;
  }
}

// Names and values that would command a terminal, hide text or forge a line of a report.
TEST_F(Tool, ShowsPrintableTextInReportsAndOnATerminal) {
  const std::string kept =
      "\xC2\xA0\xC3\x9B\xE2\x80\x8D\xE2\x80\xA7\xE2\x80\xAF\xF0\x9F\x98\x80\xF8\xE9";
  const std::string raw =
      kept +
      "\x1B\n\t\x7F\xC2\x80\xC2\x9F\xD8\x9C\xE2\x80\x8E\xE2\x80\xA8"
      "\xE2\x80\xAE\xE2\x81\xA6\xE2\x81\xA9\x9B\xC0\x9B\xE0\x82\x9B\xED\xA0\x9B";
  const std::string shown = kept + "?  ??????????\xC0?\xE0??\xED\xA0?";
  const std::string name = "n\x1B\xE2\x80\xAE";
  const std::string tag = "<" + name + " " + name + "='" + raw + "'>";
  write("x", tag + raw + "</" + name + ">");
  write("y", tag + "</" + name + ">");
  write(raw, "<a>");
  const std::string setting = "IFS=; export nebxml name='" + name + "' raw='" + raw + "'; ";
  for (const char *report :
       {"check $raw", "check no$raw", "get x $raw --lenient", "get x $name --attr $raw --lenient",
        "fmt - -o no/$raw", "get x x --type $raw"}) {
    const std::string errors = shell(setting + "$nebxml " + report, "<a/>").errors;
    EXPECT_NE(errors.find(shown), std::string::npos) << report << errors;
  }
  for (const std::string command :
       {"tree x --lenient", "diff x y --lenient", "get x $name --lenient",
        "get x $name --attr $name --lenient"}) {
    const std::string piped = shell(setting + "$nebxml " + command).output;
    EXPECT_NE(piped.find(command[0] == 'g' ? raw : name), std::string::npos) << piped;
    const std::string seen =
        shell(setting + "NO_COLOR=1 script -qec '$nebxml " + command + "' z").output;
    EXPECT_TRUE(seen.find("??") < seen.size() && seen.find('\x1B') > seen.size()) << seen;
  }
}

TEST_F(Tool, ReportsShortMemoryAsTroubleWithAFile) {
  if (kIsEmulated) GTEST_SKIP() << "an emulator takes memory itself";
  if (shell("ulimit -v 1000000; $nebxml --version").status != 0) GTEST_SKIP() << "a sanitizer";
  write("m.xml", "<a>" + repeated("<b c='v'>t</b>", 40'000) + "</a>");
  // From where the program can begin to where it has all that it needs.
  const std::string outcomes =
      "(size=3000; until (ulimit -v $size; $nebxml --version); do size=$((size + 200)); done "
      ">begun 2>&1; for more in $(seq 0 700 23000); do (ulimit -v $((size + more)); "
      "$nebxml set m.xml a.b.1 v -o out.xml; echo $?); done) 2>&1 | sed 's/.*: does not "
      "fit.*/fit/'";
  EXPECT_EQ(shell(outcomes + " | sort -u").output, "0\n3\nfit\n");
}

TEST_F(Tool, TakesValuesOfATypeInItsRangeOnly) {
  const std::string cases[][5] = {
      {"bool", "false", "true", "2", "TRUE"},
      {"int8", "-128", "127", "-129", "128"},
      {"uint8", "0", "255", "-1", "256"},
      {"int16", "-32768", "32767", "-32769", "32768"},
      {"uint16", "0", "65535", "-1", "65536"},
      {"int32", "-2147483648", "2147483647", "-2147483649", "2147483648"},
      {"uint32", "0", "4294967295", "-1", "4294967296"},
      {"int64", "-9223372036854775808", "9223372036854775807", "-9223372036854775809",
       "9223372036854775808"},
      {"uint64", "0", "18446744073709551615", "-1", "18446744073709551616"},
      {"double", "-0.5", "1e21", "1e", "1e400"},
  };
  for (const auto &[type, least, most, under, over] : cases) {
    SCOPED_TRACE(type);
    write("a.xml", "<a/>");
    const std::string set = "$nebxml set a.xml a --in-place --type " + type + " ";
    const std::string get = "$nebxml get - a --type " + type;
    shell(set + least + " && " + set + most + " --attr k");
    const std::string text = "<a k=\"" + most + "\">" + least + "</a>";
    EXPECT_EQ(shell(get + " && " + get + " --attr k <a.xml", text).output,
              least + "\n" + most + "\n");
    const std::string range = type == "bool"     ? "(true, false"
                              : type == "double" ? "(such as -0.5"
                                                 : "(" + least + " to " + most + ")";
    for (const std::string &value : {under, over}) {
      for (const Outcome &outcome : {shell(set + value), shell(get, "<a>" + value + "</a>")}) {
        EXPECT_EQ(outcome.status, 1);
        EXPECT_NE(outcome.errors.find(range), std::string::npos) << outcome.errors;
      }
    }
    EXPECT_EQ(read("a.xml"), text);
  }
  EXPECT_EQ(shell("$nebxml get - a --type int8", "<a>+007</a>").output, "7\n");
}

TEST_F(Tool, FindsEveryDifference) {
  struct Comparison {
    std::string options, first, second, output;
  };
  std::vector<Comparison> comparisons;
  std::string options;
  for (const std::string &line : tables::linesOf("differences.txt")) {
    if (line[0] == '$') {
      options = line.substr(1);
    } else if (line[0] != '<') {
      comparisons.back().output += line + "\n";
    } else if (comparisons.empty() || !comparisons.back().second.empty()) {
      comparisons.push_back({options, line, "", ""});
    } else {
      comparisons.back().second = line;
    }
  }
  for (const Comparison &each : comparisons) {
    SCOPED_TRACE(each.first + " " + each.second + each.options);
    write("A", each.first);
    write("B", each.second);
    const Outcome outcome = shell("$nebxml diff A B" + each.options);
    EXPECT_EQ(outcome.output, each.output);
    EXPECT_EQ(outcome.status, each.output.empty() ? 0 : 1);
    EXPECT_EQ(outcome.errors, "");
  }
}

TEST_F(Tool, HelpManualAndCompletionsAgree) {
  using Words = std::set<std::string>;
  const auto words = [](const std::string &command) {
    std::istringstream text(shell("cd $samples/../..; " + command).output);
    return Words(std::istream_iterator<std::string>(text), {});
  };
  const std::string synopsis = "sed '1,/^.Sh SYN/d;/^.Sh DES/,$d' docs/nebxml.1 | awk ";
  const auto commands = words("$nebxml --help | sed '1,/^Commands/d' | awk '{print $1}'");
  EXPECT_EQ(words(synopsis + "'/^.Cm/ {print $2}'"), commands);
  Words all = commands;
  for (const std::string &command : commands) {
    SCOPED_TRACE(command);
    auto options =
        words("$nebxml " + command + " --help | sed -nE 's/^ +(-[^ ]+).*/\\1/p' | tr , '\\n'");
    EXPECT_EQ(options.erase("-h") + options.erase("--help"), 2U);
    all.insert(options.begin(), options.end());
    const std::string inManual = R"( '/^.Nm/ {name = ""} /^.Cm/ {name = $2} name == wanted {
        for (i = 1; i < NF; ++i) if ($i ~ /Fl$/) print "-" $(i + 1)}')";
    for (const std::string &option : words(synopsis + "-v wanted=" + command + inManual)) {
      EXPECT_TRUE(options.count(option)) << option;
    }
    EXPECT_EQ(shell("$nebxml " + command + " --help | grep -c '^  nebxml " + command + "'").output,
              "2\n");
  }
  all.insert({"--help", "--version", "--color"});
  EXPECT_EQ(words("grep -E '^.It (Fl|Cm) ' docs/nebxml.1 | grep -oE '(Fl|Cm) [^ ]+' | "
                  "sed 's/^Fl /-/; s/^Cm //'"),
            all);
}

TEST_F(Tool, ShellsCompleteByWhatTheToolSays) {
  const std::string cases[][2] = {
      {"se", "set"},
      {"--v", "--version"},
      {"get --ty", "--type"},
      {"get --type uint1", "uint16"},
      {"get one", "one.xml"},
      {"get --attr x --lenient one", "one.xml"},
      {"get one.xml a.", "a.b a.c\\.d"},
      {"import one.xml a one.xml a.c", "a.c\\.d"},
      {"edit one.xml --del a.b.", "a.b.2 a.b.@x"},
      {"edit one.xml --set a.c", "a.c\\.d"},
      {"set one.xml a.b o", ""},
  };
  write("one.xml", "<a><b x='1'/><b/><c.d><e/></c.d></a>");
  for (const std::string shellName : {"bash", "zsh", "fish"}) {
    for (const auto &[line, offered] : cases) {
      const std::string root = "$samples/../../";
      const Outcome outcome = shell("export nebxml; " + root + "tests/support/completions.sh " +
                                    shellName + " " + root + "tools/nebxml/completion nebxml " +
                                    line + " | grep . | sort | paste -sd ' '");
      EXPECT_EQ(outcome.output, offered + "\n") << shellName << ": " << line << outcome.errors;
    }
  }
}

TEST_F(Tool, EveryPathInTheTreeFindsItsOwnNode) {
  // The names are those that a lookup could take for something else. Each node has a k of its own,
  // which begins with u where no path leads.
  const std::string longName(300, 'n');
  const std::string longOnes = "<" + longName + " k='22'><" + longName + " k='u3'/></" + longName;
  write("names.xml",
        "<d.e k='1'><a k='2'/><p:a k='3'/><a k='4'/><q:a k='5'/><p:a k='6'/><p:b k='7'/><b k='8'/>"
        "<x.y k='9'><z k='10'/></x.y><x.y k='11'/><x k='12'><y k='13'/></x><p.p:x.y k='14'/>"
        "<x.y k='15'/><back\\slash k='16'/><back\\.x k='17'/><a k='18'><a k='19'/><a k='20'/></a>"
        "<back\\ k='21'><in k='u1'/></back\\><back\\ k='u2'/><1 k='u6'/><p:q:r k='23'/><q:r "
        "k='24'/>" +
            longOnes + "></d.e><d.e k='u4'><a k='u5'/></d.e>");
  const std::regex form(R"re( *(\S+)( \(no path\))? k="(\w+)")re");
  std::istringstream lines(shell("$nebxml tree names.xml --lenient").output);
  size_t lineCount = 0;
  for (std::string line; std::getline(lines, line); ++lineCount) {
    std::smatch parts;
    ASSERT_TRUE(std::regex_match(line, parts, form)) << line;
    const std::string key = parts[3];
    EXPECT_EQ(parts[2].matched, key.front() == 'u') << line;
    if (!parts[2].matched) {
      EXPECT_EQ(shell("$nebxml get names.xml --lenient '" + parts.str(1) + "' --attr k").output,
                key + "\n");
    }
  }
  EXPECT_EQ(lineCount, 30U);
}

}  // namespace
