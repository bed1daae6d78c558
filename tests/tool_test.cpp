/* The command line tool, run as its users run it: through a shell, on files in a directory. */
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace {

struct Outcome {
  int status;
  std::string output;
  std::string errors;
};

class Tool : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string name = ::testing::TempDir() + "nebxml-test-XXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    directory_ = name;
    std::filesystem::create_directory(directory_ / "files");
  }

  void TearDown() override { std::filesystem::remove_all(directory_); }

  /** Runs a shell command in the directory of the files; $nebxml is the tool. */
  Outcome shell(const std::string &command, const std::string &input = "") {
    write("../input", input);
    const std::string line = "cd '" + files() +
                             "' && nebxml='" NEBXML_EXECUTABLE "' samples='" NEB_XML_SAMPLES_DIR
                             "'\n(" +
                             command + ") <../input >../output 2>../errors";
    const int status = std::system(line.c_str());  // NOLINT: the point is to use a shell
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read("../output"), read("../errors")};
  }

  void write(const std::string &name, const std::string &text) {
    std::ofstream(files() + "/" + name, std::ios::binary) << text;
  }

  std::string read(const std::string &name) {
    std::ifstream file(files() + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::string files() const { return (directory_ / "files").string(); }

  std::size_t fileCount() const {
    const std::filesystem::directory_iterator entries(files());
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
  }

 private:
  std::filesystem::path directory_;
};

TEST_F(Tool, AnswersWithStatusOutputAndCause) {
  const std::string two = "<a><b>1</b><b x='2' p:x='3'>4</b></a>\n<z>5</z>";
  const std::string tail = "<z>5</z>\n";
  const struct {
    std::string command;
    std::string input;
    int status;
    std::string output;
    std::string errors;  // A part of them; none at all when empty.
  } cases[] = {
      {"$nebxml check $samples/*.xml - ", two, 0, "", ""},
      {"$nebxml check bad.xml -", two, 1, "", "nebxml: bad.xml: not well-formed\n"},
      {"$nebxml check bad.xml none.xml -", "", 3, "",
       "nebxml: none.xml: cannot open: No such file"},
      {"$nebxml check -", "", 1, "", "nebxml: -: not well-formed\n"},
      {"$nebxml check .", "", 3, "", "nebxml: .: cannot read"},
      {"$nebxml check - <&-", "", 3, "", "nebxml: -: cannot read: Bad file descriptor\n"},
      {"$nebxml fmt -", two + std::string("\0<", 2), 0,
       "<a>\n<b>1</b>\n<b x=\"2\" p:x=\"3\">4</b>\n</a>\n" + tail, ""},
      {"$nebxml fmt -", "<a x='&amp;#1;'>&amp;lt;</a><b>&amp;amp;</b>", 0,
       "<a x=\"&amp;#1;\">&amp;lt;</a>\n<b>&amp;amp;</b>\n", ""},
      {"$nebxml get - a.b.2", two, 0, "4\n", ""},
      {"$nebxml get - a", two, 0, "\n", ""},
      {"$nebxml get - a.b.2 --attr p:x", two, 0, "3\n", ""},
      {"$nebxml get - a.b.2 --attr x", two, 0, "2\n", ""},
      {"$nebxml get - a.b.2 --attr y", two, 1, "", "no attribute 'y' at path 'a.b.2'\n"},
      {"$nebxml get - a.c", two, 1, "", "nebxml: -: no node at path 'a.c'\n"},
      {"$nebxml get - a.b.0", two, 2, "", "malformed path"},
      {"$nebxml set - a.b -5", two, 0, "<a>\n<b>-5</b>\n<b x=\"2\" p:x=\"3\">4</b>\n</a>\n" + tail,
       ""},
      {"$nebxml set - a.b.2 ''", two, 0, "<a>\n<b>1</b>\n<b x=\"2\" p:x=\"3\"/>\n</a>\n" + tail,
       ""},
      {"$nebxml set - a.b.2 tree --attr p:x", two, 0,
       "<a>\n<b>1</b>\n<b x=\"2\" p:x=\"tree\">4</b>\n</a>\n" + tail, ""},
      {"$nebxml set - a.b '<' --attr q:y", two, 0,
       "<a>\n<b q:y=\"&lt;\">1</b>\n<b x=\"2\" p:x=\"3\">4</b>\n</a>\n" + tail, ""},
      {"$nebxml set - a.b v --attr 'y=\"\" z'", two, 2, "", "not an attribute name: 'y=\"\" z'\n"},
      {"$nebxml set - a v", two, 1, "", "child elements leave no place for a text at path 'a'\n"},
      {"$nebxml del - a.b.2", two, 0, "<a>\n<b>1</b>\n</a>\n" + tail, ""},
      {"$nebxml del - a.b.2 --attr p:x", two, 0, "<a>\n<b>1</b>\n<b x=\"2\">4</b>\n</a>\n" + tail,
       ""},
      {"$nebxml del - a", two, 1, "", "cannot be deleted"},
      {"$nebxml stat -", two, 0, "elements: 4\nattributes: 2\ntexts: 3\ndepth: 2\ntext bytes: 3\n",
       ""},
      {"$nebxml fmt - -o out.xml && cat out.xml", "<a/>", 0, "<a/>\n", ""},
      {"$nebxml fmt - -o /dev/full", two, 3, "", "/dev/full: cannot write: No space left"},
      {"$nebxml fmt - -o none/out.xml", two, 3, "", "none/out.xml: cannot write: No such file"},
      {"$nebxml tree - >/dev/full", two, 3, "", "standard output: cannot write: No space left"},
      {"$nebxml --help >/dev/full", "", 3, "", "standard output: cannot write"},
      {"$nebxml --version", "", 0, "NEB XML 2.1.9\n", ""},
      {"$nebxml get --help | grep -c -e --attr", "", 0, "1\n", ""},
      {"$nebxml", "", 2, "", "subcommand"},
      {"$nebxml get -", two, 2, "", "PATH"},
      {"$nebxml fmt bad.xml -o x --in-place", "", 2, "", "--in-place"},
      {"$nebxml fmt - --in-place", two, 2, "", "--in-place"},
  };
  write("bad.xml", "<a><b></a>");
  for (const auto &row : cases) {
    SCOPED_TRACE(row.command);
    const Outcome outcome = shell(row.command, row.input);
    EXPECT_EQ(outcome.status, row.status);
    EXPECT_EQ(outcome.output, row.output);
    EXPECT_EQ(outcome.errors.empty(), row.errors.empty()) << outcome.errors;
    EXPECT_NE(outcome.errors.find(row.errors), std::string::npos) << outcome.errors;
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
        "<back\\ k='21'><in k='u1'/></back\\><back\\ k='u2'/><1 k='u6'/>" +
            longOnes + "></d.e><d.e k='u4'><a k='u5'/></d.e>");
  const std::regex form(R"re( *(\S+)( \(no path\))? k="(\w+)")re");
  std::istringstream lines(shell("$nebxml tree names.xml").output);
  std::size_t lineCount = 0;
  for (std::string line; std::getline(lines, line); ++lineCount) {
    std::smatch parts;
    ASSERT_TRUE(std::regex_match(line, parts, form)) << line;
    const std::string key = parts[3];
    EXPECT_EQ(parts[2].matched, key.front() == 'u') << line;
    if (!parts[2].matched) {
      EXPECT_EQ(shell("$nebxml get names.xml '" + parts.str(1) + "' --attr k").output, key + "\n");
    }
  }
  EXPECT_EQ(lineCount, 28U);
}

TEST_F(Tool, ReportsTreesOfAnyWidthAndDepth) {
  constexpr std::size_t width = 200'000;
  constexpr std::size_t depth = 300'000;
  std::string text = "<d>";
  for (std::size_t child = 0; child < width; ++child) {
    text += "<c/>";
  }
  for (std::size_t level = 0; level < depth; ++level) {
    text += "<e>";
  }
  for (std::size_t level = 0; level < depth; ++level) {
    text += "</e>";
  }
  write("large.xml", text + "</d>");
  EXPECT_EQ(shell("$nebxml tree large.xml | sed -n '200001p;$p' | tr -d ' '").output,
            "d.c.200000\ne(nopath)\n");
  EXPECT_EQ(shell("$nebxml stat large.xml | grep -v text").output,
            "elements: 500001\nattributes: 0\ndepth: 300001\n");
}

TEST_F(Tool, ShortensValuesBetweenCharacters) {
  const std::string begun(39, 'v');
  const Outcome outcome = shell("$nebxml tree -", "<a k='1\n2'>" + begun + "\xC3\xA9</a>");
  EXPECT_EQ(outcome.output, "a k=\"1 2\" = " + begun + "...\n");
}

TEST_F(Tool, ReplacesTheFileBehindALinkAndKeepsItsPermissions) {
  write("target.xml", "<a>1</a><z/>");
  const Outcome outcome = shell(
      "chmod 640 target.xml && ln -s target.xml link.xml && $nebxml set link.xml a 2 --in-place && "
      "test -L link.xml && stat -c %a target.xml && cat target.xml");
  EXPECT_EQ(outcome.output, "640\n<a>2</a>\n<z/>\n") << outcome.errors;
  EXPECT_EQ(fileCount(), 2U);
}

TEST_F(Tool, KeepsTheOldFileWhenReplacingFails) {
  const std::string text = "<a>" + std::string(100'000, 'v') + "</a>";
  write("a.xml", text);
  const Outcome outcome = shell("ulimit -f 8; $nebxml set a.xml a --attr k v --in-place");
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(outcome.errors, "nebxml: a.xml: cannot write: File too large\n");
  EXPECT_EQ(read("a.xml"), text);
  EXPECT_EQ(fileCount(), 1U);
}

}  // namespace
