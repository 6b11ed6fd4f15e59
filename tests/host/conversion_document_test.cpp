#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "error_of.h"

#include <filesystem>

#include "host/conversion_document.h"
#include "host/conversion_locate.h"
#include "runtime/error.h"
#include "runtime/files.h"
#include "scratch_dir.h"

namespace kx::host {
namespace {

namespace fs = std::filesystem;

const fs::path kSample = fs::path(KX_SOURCE_DIR) / "data" / "sample-conversion.json";

// The error's number and description from parsing `text`.
std::pair<int32_t, std::string> ParseError(const std::string& text) {
  try {
    ConversionDocument::Parse(text, "t.json");
  } catch (const Error& e) {
    return {e.Number(), e.Description()};
  }
  return {0, ""};
}

TEST(ConversionDocumentTest, SampleOffersBothSidesTypedAndByName) {
  auto doc = ConversionDocument::Load(kSample);
  auto source = doc->Source();
  auto target = doc->Target();
  ASSERT_TRUE(source && target);
  EXPECT_EQ(source->SpokeTypeName(), "Delimited ASCII");
  EXPECT_EQ(source->RecordLayoutCount(), 3);
  source->SetRecordLayoutPos(1);
  EXPECT_EQ(source->RecordLayoutName(), "Customer");
  EXPECT_EQ(source->RecordLayoutIndex(), 1);
  EXPECT_EQ(source->FieldCount(), 5);
  source->Put("FieldPos", {}, Variant(int16_t{2}));
  EXPECT_EQ(source->Get("FIELDNAME").ToText(), "Name") << "names compare ignoring case";
  EXPECT_EQ(source->Get("RecordLayoutList", {Variant(int16_t{2})}).ToText(), "OrderLine");
  EXPECT_EQ(source->RecordLayoutName(), "Customer") << "RecordLayoutList moves no cursor";
  EXPECT_TRUE(source->Get("SupportsMultipleRecordLayouts").ToBool());
  EXPECT_EQ(source->Get("ControlHandle").ToInt32(), 4097);
  EXPECT_EQ(source->DataChangeMonitor(2), R"(Records("Customer").Fields("Country"))");

  const std::string dir = (fs::path(KX_SOURCE_DIR) / "data").string();
  EXPECT_EQ(target->CodeModuleList(),
            dir + "/modules/customer_rules.txt\n" + dir + "/modules/date_helpers.txt");
  target->SetRecordLayoutPos(0);
  target->SetFieldPos(4);
  EXPECT_NE(target->FieldExpression().find("0 Then\r\n  Records"), std::string::npos)
      << "lines join with CR LF";
  target->SetFieldPos(3);
  EXPECT_EQ(target->FieldExpression(), "") << "a field given by name alone has no expression";

  // The target's checker, reached by name as Validate reaches it.
  auto checker = target->Get("BasicCompiler").ToObject();
  ASSERT_NE(checker, nullptr);
  checker->Call("Check", {Variant("If x Then")});
  EXPECT_EQ(checker->Get("ErrorText").ToText(),
            "If without End If: expected End If before the end of the text");
  EXPECT_EQ(checker->Get("ErrorStart").ToInt32(), 1);
  checker->Call("Check", {Variant("Trim$([Name]) & \"x\"")});
  EXPECT_EQ(checker->Get("ErrorText").ToText(), "");
  EXPECT_EQ(ErrorOf([&] { checker->Get("Errors"); }), kErrNotSupported);
  EXPECT_EQ(ErrorOf([&] { source->Get("CodeModuleList"); }), kErrNotSupported);
  EXPECT_EQ(ErrorOf([&] { source->Get("SpokeTypeName", {Variant(int16_t{1})}); }), 450);

  EXPECT_EQ(ErrorOf([&] { target->Call("ImportControl", {Variant(int32_t{12})}); }),
            kErrInvalidCall);
  EXPECT_FALSE(doc->TargetImportedSource());
  target->Call("ImportControl", {source->Get("ControlHandle")});
  EXPECT_TRUE(doc->TargetImportedSource());
}

TEST(ConversionDocumentTest, EventsAndActionsByName) {
  auto doc = ConversionDocument::Load(kSample);
  auto target = doc->Target();
  auto events = target->TargetEvents();
  EXPECT_EQ(events->Get("Count").ToInt32(), 1);
  auto event = events->Get(kDefaultMember, {Variant(int16_t{0})}).ToObject();
  EXPECT_EQ(event->Get("Info").ToObject()->Get("Name").ToText(), "AfterInsertError");
  auto actions = event->Get("Actions").ToObject();
  EXPECT_EQ(actions->Get("Count").ToInt32(), 2);
  auto action = event->Get("Actions", {Variant(int32_t{1})}).ToObject();
  auto info = action->Get("Info").ToObject();
  EXPECT_EQ(info->Get("Name").ToText(), "Run Module Routine");
  EXPECT_EQ(info->Get("MaxParameterCount").ToInt32(), 3);
  EXPECT_EQ(info->Get("ParameterType", {Variant(int16_t{2})}).ToInt32(), 2);
  EXPECT_EQ(info->Get("ParameterName", {Variant(int16_t{1})}).ToText(), "Routine");
  EXPECT_EQ(action->Get("Parameter", {Variant(int16_t{1})}).ToText(), "MarkRejected");
  action->Put("Parameter", {Variant(int16_t{1})}, Variant("Other"));
  EXPECT_EQ(doc->Model().target->events[0].actions[1].parameters[1], "Other");
  // The same action reached through the actions collection's default member.
  auto same = actions->Get(kDefaultMember, {Variant(int16_t{1})}).ToObject();
  EXPECT_EQ(same->Get("Parameter", {Variant(int16_t{1})}).ToText(), "Other");

  EXPECT_THAT(ErrorTextOf([&] { events->Get(kDefaultMember, {Variant(int16_t{5})}); }),
              testing::MatchesRegex("9: .*event 5 does not exist \\(there are 1\\).*"));
  EXPECT_EQ(ErrorOf([&] { info->Get("ParameterType", {Variant(int16_t{3})}); }), kErrSubscript);
  EXPECT_EQ(ErrorOf([&] { action->Put("Parameter", {Variant(int16_t{0})}, Variant("\xff")); }),
            kErrInvalidCall)
      << "the document holds UTF-8";
  EXPECT_EQ(ErrorOf([&] { event->Get("Parameter"); }), kErrNotSupported);
}

TEST(ConversionDocumentTest, CursorsPastTheEnd) {
  auto doc = ConversionDocument::Parse(
      R"({"source": {"type": "S", "recordLayouts": [{"name": "A", "fields": ["x"]}]},
          "target": {"type": "T", "filters": ["f"]}})");
  auto source = doc->Source();
  source->SetRecordLayoutPos(3);
  EXPECT_EQ(source->FieldCount(), 0);
  EXPECT_EQ(source->RecordLayoutName(), "");
  EXPECT_EQ(source->DataChangeMonitor(0), "");
  EXPECT_EQ(source->RecordLayoutEvents()->Get("Count").ToInt32(), 0);
  EXPECT_EQ(ErrorOf([&] { source->SetDataChangeMonitor(0, "x"); }), kErrSubscript);
  EXPECT_EQ(ErrorOf([&] { source->DataChangeMonitor(5); }), kErrSubscript);
  source->SetRecordLayoutPos(0);
  source->SetFieldPos(1);
  EXPECT_EQ(ErrorOf([&] { source->fieldname(); }), kErrSubscript);
  auto target = doc->Target();
  target->SetFilterPos(1);
  EXPECT_EQ(ErrorOf([&] { target->FilterExpression(); }), kErrSubscript);
  EXPECT_EQ(ErrorOf([&] { source->SortFieldExpression(); }), kErrSubscript);
  EXPECT_EQ(ConversionDocument::Parse("{}")->Source(), nullptr);
  EXPECT_EQ(ConversionDocument::Parse(R"({"target": null})")->Target(), nullptr);
}

TEST(ConversionDocumentTest, ErrorsSayWhereAndWhy) {
  auto [n1, m1] = ParseError("{\n  \"source\": {\n    \"filters\": [\"a\",]\n  }\n}");
  EXPECT_EQ(n1, kErrInvalidCall);
  EXPECT_EQ(m1.rfind("t.json:3:21: malformed JSON: ", 0), 0u) << m1;

  auto [n2, m2] = ParseError("{\"source\": {\"filters\": [\"a\", 7]}}");
  EXPECT_EQ(n2, kErrTypeMismatch);
  EXPECT_EQ(m2,
            "t.json:1:30: source.filters[1]: expected a text (a string or an array of lines), "
            "found a number");

  auto [n3, m3] = ParseError(
      "{\"source\": {\"recordLayouts\": [{\"name\": \"A\"},\n"
      "  {\"name\": \"B\", \"feilds\": []}]}}");
  EXPECT_EQ(n3, kErrInvalidCall);
  EXPECT_EQ(m3.rfind("t.json:2:27: source.recordLayouts[1].feilds: unknown member \"feilds\"", 0),
            0u)
      << m3;

  auto cases = std::vector<std::pair<std::string, std::string>>{
      {R"({"target": {"events": [{"name": "e", "actions": [{"type": "Nope"}]}]}})",
       "target.events[0].actions[0].type: no action type named \"Nope\""},
      {R"({"actionTypes": [{"name": "T", "parameters": [{"name": "a"}]}],
           "source": {"events": [{"name": "e", "actions": [{"type": "T", "parameters": ["x", "y"]}]}]}})",
       "\"T\" has 1 parameter slots, 2 texts given"},
      {R"({"actionTypes": [{"name": "T"}, {"name": "T"}]})", "is defined twice"},
      {R"({"source": {"recordLayouts": [{"name": "A", "dataChangeMonitors": ["", "", "", "", "", ""]}]}})",
       "5 data change monitors, 6 given"},
      {R"({"target": {"recordLayouts": [{"fields": []}]}})", "missing member \"name\""},
      {R"({"source": {"recordLayouts": [{"name": "A", "fields": [{"name": "x", "expression": "1"}]}]}})",
       "unknown member \"expression\""},
      {R"({"target": {"codeModules": ["  "]}})", "cannot be empty"},
      {R"({"version": 2})", "version 2 is not supported"},
      {R"({"source": {"controlHandle": 4294967296}})", "number out of range"},
      {R"({"source": {"supportsMultipleRecordLayouts": "yes"}})", "expected true or false"},
      {R"([])", "(document): expected an object, found an array"},
      {"", "malformed JSON"},
      {"{\"version\": 1e99999}", "t.json:1:13: malformed JSON: number overflow parsing '1e99999'"},
  };
  for (const auto& [text, expected] : cases) {
    auto [number, message] = ParseError(text);
    EXPECT_NE(number, 0) << text;
    EXPECT_NE(message.find(expected), std::string::npos) << message;
    EXPECT_EQ(message.rfind("t.json:", 0), 0u) << message;
  }
}

TEST(ConversionDocumentTest, LocatorFindsValuesThroughEscapesAndNesting) {
  const std::string text =
      "{\"a\\u00e9\": [1, {\"k\": \"}\\\"]\", \"v\": [[], \"x\"]}],\n \"z\": 2}";
  EXPECT_EQ(text.substr(LocateValue(
                text, {std::string("a\xc3\xa9"), size_t{1}, std::string("v"), size_t{1}})),
            "\"x\"]}],\n \"z\": 2}");
  EXPECT_EQ(LocateValue(text, {std::string("z")}), text.size() - 2);
  // A path that leads nowhere stops at the deepest value that exists.
  EXPECT_EQ(LocateValue(text, {std::string("a\xc3\xa9"), size_t{9}}), 12u);
  EXPECT_EQ(LocateValue("{\"a\": [1, 2", {std::string("a"), size_t{5}}), 6u);
  TextLocation loc = LocationOf("ab\n\xc3\xa9x", 6);
  EXPECT_EQ(loc.line, 2u);
  EXPECT_EQ(loc.column, 3u) << "a UTF-8 sequence is one column";
  EXPECT_EQ(PathText({std::string("a"), size_t{2}, std::string("b")}), "a[2].b");
}

TEST(ConversionDocumentTest, ADuplicateMemberIsRefusedWhereverItIs) {
  // Before, the last of two members won silently and the next save dropped the first.
  struct Case {
    std::string text;
    std::string message;  // the whole description
  };
  const Case cases[] = {
      {"{\n  \"target\": {\"type\": \"T\"},\n  \"target\": {\"type\": \"U\"}\n}\n",
       "t.json:3:3: (document): member \"target\" appears twice (first at line 2, column 3)"},
      {R"({"source": {"type": "S", "filters": ["a"], "filters": []}})",
       "t.json:1:44: source: member \"filters\" appears twice (first at line 1, column 26)"},
      {"{\"target\": {\"type\": \"T\", \"recordLayouts\": [{\"name\": \"A\"},\n"
       "  {\"name\": \"B\", \"fields\": [\"x\", {\"name\": \"y\", \"expression\": \"1\",\n"
       "   \"name\": \"z\"}]}]}}",
       "t.json:3:4: target.recordLayouts[1].fields[1]: member \"name\" appears twice (first at "
       "line 2, column 34)"},
      // Escapes are decoded before keys are compared.
      {R"({"actionTypes": [{"name": "W", "n\u0061me": "V"}]})",
       "t.json:1:32: actionTypes[0]: member \"name\" appears twice (first at line 1, column 19)"},
      // Members a reader does not know are keys too: the duplicate is found first.
      {R"({"version": 1, "x": 1, "x": 2})",
       "t.json:1:24: (document): member \"x\" appears twice (first at line 1, column 16)"},
      {"{\"\u00e9\": 1, \"\u00e9\": 2}",
       "t.json:1:10: (document): member \"\u00e9\" appears twice (first at line 1, column 2)"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    auto [number, description] = ParseError(c.text);
    EXPECT_EQ(number, kErrInvalidCall);
    EXPECT_EQ(description, c.message);
  }
  // The same key in two different objects is no duplicate.
  EXPECT_EQ(ParseError(R"({"source": {"type": "S"}, "target": {"type": "T"}})").first, 0);
  EXPECT_EQ(ParseError(R"({"actionTypes": [{"name": "A"}, {"name": "B"}]})").first, 0);
}

TEST(ConversionDocumentTest, SaveRoundTripsAndIsAtomic) {
  auto doc = ConversionDocument::Load(kSample);
  const std::string json = doc->ToJson();
  auto again = ConversionDocument::Parse(json, "saved", kSample.parent_path());
  EXPECT_EQ(again->ToJson(), json);
  EXPECT_EQ(again->CodeModuleList(), doc->CodeModuleList());
  EXPECT_NE(json.find("Then\",\n"), std::string::npos) << "multi-line texts saved as lines";

  // Texts with line breaks and odd characters survive a save.
  doc->Model().source->filters[0] = "a\r\nb\nc\r\x1b\"\\";
  auto reread = ConversionDocument::Parse(doc->ToJson());
  EXPECT_EQ(reread->Model().source->filters[0], "a\r\nb\nc\r\x1b\"\\");

  ScratchDir scratch;
  const fs::path& dir = scratch.path;
  auto path = dir / "c.json";
  WriteWholeFile(path, "old");
  doc->Save(path);
  EXPECT_EQ(ReadWholeFile(path), doc->ToJson());
  // A save that cannot complete leaves what was there and no stray file.
  fs::create_directories(dir / "taken");
  WriteWholeFile(dir / "taken" / "inside", "x");
  EXPECT_NE(ErrorOf([&] { doc->Save(dir / "taken"); }), 0);
  EXPECT_EQ(ReadWholeFile(dir / "taken" / "inside"), "x");
  EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 2);
  EXPECT_EQ(ErrorOf([&] { ConversionDocument::Load(dir / "missing.json"); }), kErrFileNotFound);
}

}  // namespace
}  // namespace kx::host
