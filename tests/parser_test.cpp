// The accepted language, the results of the entry points, and what a parse leaves in the nodes.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/guarded_hooks.h"
#include "support/parses.h"
#include "support/tables.h"
#include "support/trees.h"
#include "xml/record/node.h"
#include "xml/tree/duplicates.h"

using namespace neb::xml::internal;

namespace {

constexpr char kRejected[] = "rejected";

// Fields that end in " ~ ": a tree, and the texts that give it.
constexpr char kLanguage[] =
    // Everything around and between the tags of one element.
    "12:a=- ~ <a/> ~ < a/> ~ <a /> ~ <a></a> ~ <a\t\n\r></a> ~ <a></ a\n> ~  \t\r\n<a/> ~ "
    "<a/> \n ~ <?xml version='1.0'?><a/> ~  \t\r\n<?xml ?> <a/> ~ <?xml?><a/> ~ "
    "<?xml <?a?><a/> ~ <?XML ?><a/> ~ <?><a/> ~ <?xml\t?><?p?><a/> ~ <!----><a/> ~ "
    "<!-- a -- b --><a/> ~ <!-- <a> & ]]> ?> \" ' --><a/> ~ <!DOCTYPE a><a/> ~ <!DOCTYPE><a/> ~ "
    "<!DOCTYPEa [<!ELEMENT a (#PCDATA)> <!ENTITY e \">]\">]> <a/> ~ <!DOCTYPE a '<'>><a/> ~ "
    "<?xml ?> <!--c--> <?p?> <!DOCTYPE a> <!--c--> <?p?> <a/> ~ <a/> <!--c--> <?p?>\n ~ "
    "<a></a><!--c--> ~ <a/><?p?> ~ <<!--c-->a/> ~ <<?p?>a<!--c-->/> ~ <a></<!--c-->a<?p?>> ~ "
    "<a<?p?>></a> ~ <a><!--c--></a> ~ <a> <!--c--></a> ~ <a>\n<?p?></a> ~ "
    "<a><?p?><!--c--></a> ~ <a></a <!--c-->> ~ <a/>\0< ~ <a></a>\0x ~ "
    "rejected ~   ~ \n\t ~ x ~ <?xml ?> ~ <!--c--> ~ <?xml  ~ <?xml version='1.0' ~ "
    "<?xml ><a/> ~ <?p ~ <!-- c ~ <!-- c -- ~ <!--><a/> ~ <!---><a/> ~ <!--->--><a/> ~ "
    "<!-- c---><a/> ~ <!DOCTYPE a ~ <!DOCTYPE a> ~ <!DOCTYPE a \"><a/> ~ "
    "<!DOCTYPE a [<!ELEMENT a> ~ <!DOCTYPE a><!DOCTYPE a><a/> ~ <a/><!DOCTYPE a> ~ "
    "<!doctype a><a/> ~ <!DOCTYPE a '>'><a/> ~ \xEF\xBB\xBF ~ \xEF\xBB\xBF<a/> ~ \v<a/> ~ "
    "&#32;<a/> ~ x<a/> ~ =<a/> ~ ]]><a/> ~ --><a/> ~ /<a/> ~ ><a/> ~ /><a/> ~ '<a/> ~ </a> ~ "
    "</ ~ <a>\0</a> ~ <a/>x ~ <a></a>x ~ <a>t</a>x ~ <a/>/ ~ <a/>]]> ~ <a/>--> ~ <a/>> ~ "
    "<a/>/> ~ <a/>< ~ <a/><b ~ <a/><b> ~ <a/></a> ~ <a></a></a> ~ <a/><!-- ~ <a/><?p ~ "
    "<a></a> <?p ~ <a/><![CDATA[x]]> ~ <a></a><![CDATA[ ~ <a/><!-- ---> ~ <a>t</a><!--  ~ "
    // Names: any token is one, references and sections in it are decoded, and the first ':' counts.
    "12:==- ~ <=/> ~ <=></=> ~ 12:\"=- ~ <\"/> ~ 12:>=- ~ <>/> ~ <>></>> ~ 12:<=- ~ << ></<> ~ "
    "12:</=- ~ <</></</> ~ 12:/>=- ~ < />/> ~ 12:!x=- ~ <!x/> ~ 12:a/b-c]=- ~ <a/b-c]/> ~ "
    "12:a--=- ~ <a--/> ~ <a-- ></a-- > ~ 12:a]]=- ~ <a]]/> ~ <a]] ></a]]\n> ~ "
    "12:a&b=- ~ <a&amp;b/> ~ <a&#38;b></a&b> ~ <a<![CDATA[&]]>b/> ~ "
    "12:x y=- ~ <<![CDATA[x y]]>/> ~ <x&#32;y/> ~ 12:=- ~ <<![CDATA[]]>/> ~ "
    "12:p|a=- ~ <p:a/> ~ <p:a></p:a> ~ <p&#58;a/> ~ <p&#58;a></p:a > ~ "
    "12:p|a='t' ~ <p:a>t</p:a> ~ 12:p|a:b=- ~ <p:a:b/> ~ <p:a:b></p:a:b> ~ "
    "12:p|:a=- ~ <p::a/> ~ 12:p|a:=- ~ <p:a:/> ~ 12:&|b=- ~ <&amp;amp;:b/> ~ "
    "12:pa|b=- ~ <p&lt;![CDATA[a]]&gt;:b/> ~ "
    "rejected ~ <:a/> ~ <a:/> ~ <:/> ~ <::a/> ~ <:a></:a> ~ <a:></a:> ~ <a:>t</a:> ~ "
    "<:a x='1'/> ~ <a: x='1'/> ~ <&amp;:b/> ~ <&lt;![CDATA[a:b]]&gt;/> ~ <<![CDATA[x/> ~ "
    "<a&amp;b></a&amp;b> ~ <x&#32;y></<![CDATA[x y]]>> ~ <<a/> ~ </>/> ~ "
    // Tags and how they match.
    "rejected ~ < ~ <a ~ <a  ~ <a/ ~ <a> ~ <a></ ~ <a></a ~ <a></a x> ~ <a></> ~ <a>t</> ~ "
    "<a></b> ~ <a>t</b> ~ <ab></a> ~ <a></ab> ~ <ab>t</a> ~ <a>t</ab> ~ <A></a> ~ <p:a></a> ~ "
    "<a></p:a> ~ <p:a></q:a> ~ <a><b></a></b> ~ <a><b></a> ~ <a><b> ~ <a><b/></b> ~ "
    "<a><b></b></a ~ <a/ > ~ <a / > ~ <a /x> ~ <a]]> ~ <a--> ~ <a'/> ~ <a=/> ~ <a</> ~ "
    "<a></a</> ~ <a>t</a x> ~ <a>t</a <!--c-->> ~ <a>t</a ~ <a>t</ ~ <a>t ~ <a>t<b/></a> ~ "
    "<a\0/> ~ <a&gt;></a> ~ <a--></a--> ~ <a]]></a]]> ~ <a-- ></a--> ~ <a]] ></a]]> ~ "
    // Attributes.
    "12:a=- x='1' ~ <a x='1'/> ~ <a x=\"1\"/> ~ <a x='1'></a> ~ <a x = '1' /> ~ "
    "<a\tx\n=\r'1'\n/> ~ <a x='&#49;'/> ~ <a x='<![CDATA[1]]>'/> ~ <a &#120;='1'/> ~ "
    "<a<!--c--> x='1'/> ~ <a x<!--c-->=<?p?>'1'<!--c-->/> ~ <a x='1'<?p?>></a> ~ "
    "12:a=- x='1' y='2' ~ <a x='1' y='2'/> ~ <a x='1'\r\ny=\"2\"></a> ~ "
    "<a x='1'<!--c--> y='2'/> ~ "
    "12:a=- x=- y='' ~ <a x='' y='<![CDATA[]]>'/> ~ <a x=\"\" y=\"<![CDATA[]]>\"></a> ~ "
    "12:a=- x='\"<>/>=\r\n\t & ' ~ <a x='\"<>/>=\r\n\t &amp; '/> ~ "
    "12:a=- x='it's' ~ <a x=\"it's\"/> ~ <a x='it&apos;s'/> ~ "
    "12:a=- x='1' p|x='2' q|x='3' p|y='4' ~ <a x='1' p:x='2' q:x='3' p:y='4'/> ~ "
    "12:a=- p|y:z='1' ~ <a p:y:z='1'/> ~ 12:a=- p:y='1' ~ <a p&#58;y='1'/> ~ "
    "12:a=- &|x='1' ~ <a &amp;:x='1'/> ~ 12:a=- =='1' ~ <a =='1'/> ~ "
    "12:a=- \"='1' ~ <a \"='1'/> ~ 12:a=- <='1' ~ <a <='1'/> ~ "
    "12:a=- </='1' </x='2' ~ <a </='1' &lt;/x='2'/> ~ 12:a=- x='1' </='2' ~ <a x='1' </='2'/> ~ "
    "12:a=- y z='1' ~ <a <![CDATA[y z]]>='1'/> ~ "
    "rejected ~ <a x> ~ <a x/> ~ <a x=> ~ <a x=/> ~ <a x=1/> ~ <a x='1/> ~ <a x=\"1'/> ~ "
    "<a x='1' ~ <a x='1'  ~ <a x ~ <a x= ~ <a x=' ~ <a x='1'y='2'/> ~ <a x='1' y z='2'/> ~ "
    "<a x='1' y/> ~ <a x='1' <b/> ~ <a x='1' <='2'/> ~ <a x='1' =='2'/> ~ <a x='1' \"='2'/> ~ "
    "<a x='1' '='2'/> ~ <a x='1'/ > ~ <a x='1' ]]> ~ <a x='1' --> ~ <a ='1'/> ~ <ax='1'/> ~ "
    "<a<!--c-->x='1'/> ~ <a <!--c--> x='1'/> ~ <a x='1'<!--c-->y='2'/> ~ <a x='1'<!-- /> ~ "
    "<a :x='1'/> ~ <a x:='1'/> ~ <a :='1'/> ~ <a x='<![CDATA[' y=']]>'/> ~ <a x='<![CDATA['/> ~ "
    "<a <![CDATA[p:q]]>='1'/> ~ <a\vx='1'/> ~ <a x\f='1'\f/> ~ <a x='1' x='2'/> ~ "
    "<a x='1' x='1'></a> ~ <a p:x='1' y='' p:x='2'/> ~ <a x='1' &#120;='2'/> ~ "
    "<a/><b x='1' x='2'/> ~ "
    // Values: spaces before a text are restored, other white space is not, nothing is trimmed.
    "12:a=' ' ~ <a> </a> ~ <a> </ a > ~ <a><!--c--> </a> ~ <a>\n<!--c--> </a> ~ "
    "<a>\n<?p?> </a> ~ <a><![CDATA[ ]]></a> ~ <a>&#32;</a> ~ <a>&#x20;</a> ~ <a>\t&#32;</a> ~ "
    "12:a='\n' ~ <a>\n</a> ~ <a> <?p?>\n</a> ~ <a>&#10;</a> ~ 12:a=' \t\r\n' ~ <a> \t\r\n</a> ~ "
    "12:a='' ~ <a><![CDATA[]]></a> ~ <a>\n<![CDATA[]]><![CDATA[]]></a> ~ "
    "12:a='x' ~ <a>x</a> ~ <a>\nx</a> ~ <a> \t\r\nx</a> ~ <a>x<!--c--></a> ~ "
    "<a>x<?p?> <!--c-->\n</a> ~ <a><!--c-->x</a> ~ <a>\n<!--c-->\nx</a> ~ < a >x</ a > ~ "
    "<a><![CDATA[x]]></a> ~ <a><![CDATA[]]>x</a> ~ <a>x<![CDATA[]]></a> ~ "
    "<a>\n<![CDATA[x]]></a> ~ <a>&#120;</a> ~ <a>&#x78;</a> ~ <a>&#x0078;</a> ~ "
    "<a>&#0000120;</a> ~ "
    "12:a='  x  ' ~ <a>  x  </a> ~ <a>\n  x  </a> ~ <a> <!--c-->  x  </a> ~ "
    "<a>  <![CDATA[x]]>  </a> ~ <a>  x  <!--c--></a> ~ <a>  x  <!--c--> </a> ~ "
    "12:a='x\ty\r\n' ~ <a>x\ty\r\n</a> ~ "
    "12:a='=\"'x>/ ]]> --> />' ~ <a>=\"'x>/ ]]> --> /></a> ~ 12:a='/' ~ <a>/</a> ~ <a>\n/</a> ~ "
    "12:a=']]>' ~ <a>]]></a> ~ <a><![CDATA[]]]]>></a> ~ <a><![CDATA[]]]]><![CDATA[>]]></a> ~ "
    "12:a='-->' ~ <a>--></a> ~ "
    "12:a='x<y>&amp;' ~ <a>x<![CDATA[<y>&amp;]]></a> ~ <a>x&lt;y&gt;<![CDATA[&amp;]]></a> ~ "
    "<a><![CDATA[x<y>]]>&#38;amp;</a> ~ <a>x<![CDATA[<y>]]>&amp;amp;</a> ~ "
    "12:a='&<>'\"' ~ <a>&amp;&lt;&gt;&apos;&quot;</a> ~ <a>&#38;&#60;&#x3e;&#x27;&#x22;</a> ~ "
    "12:a='\t\n\r\x7F\xC2\x80' ~ <a>&#9;&#10;&#13;&#127;&#x80;</a> ~ "
    "12:a='\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBD' ~ "
    "<a>&#x7FF;&#x800;&#xD7FF;&#xE000;&#xFFFD;</a> ~ "
    "12:a='\xF0\x90\x80\x80\xF0\x9F\xBF\xBE\xF4\x8F\xBF\xBF' ~ "
    "<a>&#x10000;&#x1FFFE;&#1114111;</a> ~ <a>&#65536;&#x1fffe;&#x10ffff;</a> ~ "
    "12:\xC3\xA9='\xEF\xBB\xBF\f' \xFF='\x01' ~ "
    "<\xC3\xA9 \xFF='\x01'>\xEF\xBB\xBF\f</\xC3\xA9> ~ "
    "rejected ~ <a>x<b/></a> ~ <a><b/>x</a> ~ <a><b></b>x</a> ~ <a><b>t</b>x</a> ~ "
    "<a><b/><![CDATA[]]></a> ~ <a>x<!--c-->y</a> ~ <a>x<?p?>y</a> ~ <a>></a> ~ <a>/></a> ~ "
    "<a> /></a> ~ <a><b/>></a> ~ <a><b/>]]></a> ~ <a>x<y></a> ~ <a><![CDATA[x</a> ~ "
    "<a><![CDATA[x]]</a> ~ <a>x<![CDATA[y</a> ~ <a><![cdata[x]]></a> ~ <a><! [CDATA[x]]></a> ~ "
    "<a>x<?p</a> ~ <a><!-- </a> ~ <a><?p</a> ~ <a><!-- c---></a> ~ <a>x<!--></a> ~ "
    // Children. An element that is never closed keeps its qualified name whole.
    "12:a=-(0:b=-) ~ <a><b/></a> ~ <a>\n<b/>\n</a> ~ <a><b></b></a> ~ "
    "<a> <!--c--><b/><?p?> </a> ~ <a><b/> ~ <a><b></b> ~ <a><b/> <!--c--> ~ "
    "12:a='\n'(0:b=-) ~ <a><b></b>\n</a> ~ <a> <b></b><!--c-->\n</a> ~ "
    "12:a=-(0:b='t') ~ <a><b>t</b></a> ~ <a>\n<b>t</b>\n</a> ~ <a><b>t</b> ~ "
    "12:a='\n'(0:b=' ') ~ <a><b> </b>\n</a> ~ "
    "12:a='\n'(0:b='\n'(0:c=-)) ~ <a><b><c></c>\n</b>\n</a> ~ "
    "12:a=-(0:b=- x='1',0:c=-) ~ <a><b x='1'/><c/></a> ~ <a><b x='1'></b><c></c></a> ~ "
    "12:a=-(0:b=-(0:c=-,0:d=-),0:e='t') ~ <a><b><c/><d></d></b><e>t</e></a> ~ "
    "12:p|a=- x='1'(0:b='t') ~ <p:a x='1'><b>t</b></p:a> ~ "
    "12:p:a=-(0:q:b=-(0:r|c=-)) ~ <p:a><q:b><r:c/> ~ <p:a><q:b><r:c></r:c> ~ "
    "12:a=-,0:b=- ~ <a/><b/> ~ <a></a> <b></b> ~ <a/><!--c--> <b/> <?p?> ~ "
    "12:a='t',0:p|b=-(0:c=-),0:d=- ~ <a>t</a><p:b><c/></p:b>\n<d/> ~ ";

// Refused wherever references are decoded.
constexpr char kBadReferences[] =
    "& ~ &; ~ &amp ~ &AMP; ~ &nbsp; ~ & amp; ~ AT&T ~ &#; ~ &#x; ~ &#X41; ~ &#65 ~ &#65 ; ~ "
    "&#-1; ~ &#+1; ~ &#6a; ~ &#xg; ~ &#0; ~ &#x0; ~ &#1; ~ &#8; ~ &#11; ~ &#12; ~ &#14; ~ "
    "&#31; ~ &#xD800; ~ &#xDFFF; ~ &#xFFFE; ~ &#xFFFF; ~ &#x110000; ~ &#1114112; ~ "
    "&#x100000041; ~ &#4294967361; ~ &#18446744073709551681; ~ ";

// Trees and their texts.
std::vector<std::pair<std::string, std::string>> language() {
  std::vector<std::pair<std::string, std::string>> cases;
  std::string tree;
  for (const std::string &field : tables::fieldsOf({kLanguage, sizeof kLanguage - 1})) {
    const bool isTree = field.starts_with("12:") || field == kRejected;
    if (isTree) tree = field;
    if (!isTree) cases.push_back({tree, field});
  }
  for (const std::string &bad : tables::fieldsOf(kBadReferences)) {
    for (const std::string &text :
         {"<a>" + bad + "</a>", "<a>x<![CDATA[;]]>" + bad + "</a>", "<a x='" + bad + "' y=';'/>",
          "<" + bad + "/>", "<a " + bad + "=''/>", "<a " + bad + ":x=''/>"}) {
      cases.push_back({kRejected, text});
    }
  }
  return cases;
}

TEST(Parser, AcceptsItsLanguageAndNothingElse) {
  for (const auto &[tree, text] : language()) {
    EXPECT_EQ(parses::outcome(text), tree);
    const std::string path = trees::temporaryFile(text);
    for (const auto parse : {NEB_XML_ParseFile, NEB_XML_ParseFileEx}) {
      XmlNode *document = nullptr;
      const uint32_t result = parse(path.c_str(), &document);
      EXPECT_EQ(parses::outcomeOf(result, document), tree) << text << ", from a file";
    }
  }
}

// All beginnings and all ends of every text.
TEST(Parser, ReadsNothingOutsideTheText) {
  for (const auto &[tree, text] : language()) {
    for (size_t cut = 1; cut < text.size(); ++cut) {
      for (const std::string &part : {text.substr(cut), text.substr(0, cut)}) {
        if (part[0] != '\0') parses::outcome(part);
      }
    }
  }
}

// Repeated attributes are found by other means once there are many.
TEST(Parser, RefusesARepeatedAttributeAmongAnyNumber) {
  for (const size_t count : {1U, 2U, 23U, 24U, 25U, 26U, 63U, 64U, 65U, 300U}) {
    std::vector<std::string> attributes;
    std::string text;
    for (size_t i = 0; i < count; ++i) {
      const std::string prefix = i % 3 == 0 ? "" : "p" + std::to_string(i % 3) + ":";
      attributes.push_back(prefix + "n" + std::to_string(i / 3) + "='" + std::to_string(i) + "'");
      text += " " + attributes.back();
    }
    const std::string tree = "12:a=-" + tables::replaced(text, ":", "|");
    text.insert(0, "<a");
    EXPECT_EQ(parses::outcome(text + " p9:n0=''/><b n0=''/>"), tree + " p9|n0=-,0:b=- n0=-");
    for (const std::string &repeated : attributes) {
      EXPECT_EQ(parses::outcome(text + " " + repeated + "/>"), kRejected) << repeated;
    }
  }
}

// Names that collide in one table do not collide in another.
TEST(Parser, HashesTheNamesOfEachTableByAKeyOfItsOwn) {
  constexpr size_t kMany = 50;
  std::set<uint64_t> hashes;
  DuplicateDetector detectors[3];
  for (DuplicateDetector &detector : detectors) {
    DuplicateDetector::Seen seen;
    std::vector<std::string> names(kMany);
    std::vector<XmlNode> attributes(kMany);
    for (size_t i = 0; i < kMany; ++i) {
      names[i] = "n" + std::to_string(i);
      attributes[i].name = names[i].data();
      if (i != 0) attributes[i - 1].next = &attributes[i];
      EXPECT_EQ(detector.add(NameKey::of(&attributes[i]), attributes.data(), &attributes[i], &seen),
                uint32_t{NEB_XML_OK});
    }
    // Its first member behind the keys.
    const uint64_t *table =
        reinterpret_cast<uint64_t *const *>(&detector)[DuplicateDetector::kKeyedAttributes];
    hashes.insert(table, table + guarded::mallocSizes().back() / sizeof *table);
    detector.beginTag();
  }
  EXPECT_EQ(hashes.size(), std::size(detectors) * kMany + 1) << "with what stands in free places";
}

TEST(Parser, EntryPointsTellWhatFailedAndWriteTheirResultAsPromised) {
  constexpr uint32_t kInvalid = NEB_XML_ERR_INVALID_PARAM;
  constexpr uint32_t kSyntax = NEB_XML_ERR_SYNTAX, kOpen = NEB_XML_ERR_FILE_OPEN;
  const std::string empty = trees::temporaryFile("");
  const std::string malformed = trees::temporaryFile("<a>");
  const std::string within = empty + "/a.xml";
  XmlNode *const kept = trees::parsed("<kept/>");
  const std::tuple<bool, const char *, uint32_t> cases[] = {{false, nullptr, kInvalid},
                                                            {false, "", kInvalid},
                                                            {false, " ", kSyntax},
                                                            {true, nullptr, kInvalid},
                                                            {true, "", kOpen},
                                                            {true, within.c_str(), kOpen},
                                                            {true, empty.c_str(), kSyntax},
                                                            {true, malformed.c_str(), kSyntax}};
  for (const auto &[isFile, input, result] : cases) {
    for (const bool isEx : {false, true}) {
      const auto parse = isFile ? (isEx ? NEB_XML_ParseFileEx : NEB_XML_ParseFile)
                                : (isEx ? NEB_XML_ParseEx : NEB_XML_Parse);
      XmlNode *document = kept;
      EXPECT_EQ(parse(input, &document), result) << isFile << isEx;
      EXPECT_TRUE(document == (result == kInvalid || (isFile && !isEx) ? kept : nullptr));
    }
  }
  NEB_XML_FreeNode(kept);
}

}  // namespace
