// Formats, settings files and texts.
#include <gtest/gtest.h>

#include "engine/common/formats.h"
#include "engine/common/ini_file.h"
#include "engine/common/journal.h"
#include "engine/common/settings.h"
#include "engine/common/text.h"

namespace morvex::test {
namespace {

std::string Utf16(const std::u16string& text) {
    std::string bytes = "\xff\xfe";
    for (const char16_t unit : text) bytes += {static_cast<char>(unit & 0xff), static_cast<char>(unit >> 8)};
    return bytes;
}

TEST(IniFile, EncodingsAndOddities) {
    const std::string plain =
        "[A b]\r\nKEY = \" C:\\x \" \r\nkey=second\n;c=1\n[other\nnot a key\n=v\nx=[y=z\n";
    std::u16string wide(plain.begin(), plain.end());
    for (const std::string& bytes : {plain, "\xef\xbb\xbf" + plain, Utf16(wide)}) {
        const IniFile file = IniFile::Parse(bytes);
        EXPECT_EQ(file.Value("a B", "Key"), "C:\\x");
        EXPECT_EQ(file.Value("A b", ";c"), std::nullopt);
        EXPECT_EQ(file.Value("other", "x"), "[y=z");
        EXPECT_EQ(file.Value("none", "x"), std::nullopt);
    }
    EXPECT_EQ(IniFile::Parse(Utf16(u"[s]\nk=я\xd83d\xde00")).Value("s", "k"), "я😀");
    EXPECT_EQ(IniFile::Parse("[").Value("", ""), std::nullopt);
    EXPECT_EQ(IniFile::Parse(std::string(1 << 22, '[')).Value("", "a"), std::nullopt);
    IniFile file;
    EXPECT_TRUE(file.Override("S/K = 2"));
    EXPECT_EQ(file.Value("s", "k"), "2");
    EXPECT_FALSE(file.Override("S=K/2"));
}

TEST(Settings, DefaultsFallbacksAndValues) {
    std::vector<std::string> complaints;
    const Settings fresh =
        ReadSettings(IniFile::Parse("[STL CONF]\nANGULAR_TOL= 0.174532\nLINEAR_TOL=0.1000000\n"
                                    "MAXSIZE=100000000000000010000000000000000000.0\n"),
                     complaints);
    EXPECT_TRUE(complaints.empty());
    EXPECT_TRUE(fresh.linearOff && fresh.angularOff && fresh.keepMeshes && fresh.keepAssembly);
    EXPECT_DOUBLE_EQ(fresh.angularTolerance, 0.174532);

    for (const char* bad :
         {"STL CONF/LINEAR_TOL=0,5", "STL CONF/LINEAR_TOL=-1", "STL CONF/LINEAR_TOL=nan",
          "STL CONF/ANGULAR_TOL=4", "STL CONF/WRITE_ASCII=yes", "STEP CONF/WRITE_VERSION=215",
          "MODIFICATION D'ATTRIBUT/VISIBILITY=2", "TOLERANCE/NB_DECIMALE=99", "STL CONF/WRITE_ASCII="}) {
        IniFile file;
        ASSERT_TRUE(file.Override(bad));
        complaints.clear();
        const Settings settings = ReadSettings(file, complaints);
        EXPECT_EQ(complaints.size(), 1u) << bad;
        EXPECT_EQ(settings.linearTolerance, Settings().linearTolerance);
        EXPECT_EQ(settings.stepVersion, 0);
    }
}

// Every key reaches the member that it is for, and no other.
TEST(Settings, EachKeyHasItsMember) {
    const struct {
        const char* assignment;
        void (*expect)(Settings& settings);
    } cases[] = {
        {"STL CONF/LINEAR_DIS=0", [](Settings& s) { s.linearOff = false; }},
        {"STL CONF/LINEAR_TOL=0.25", [](Settings& s) { s.linearTolerance = 0.25; }},
        {"STL CONF/ANGULAR_DIS=0", [](Settings& s) { s.angularOff = false; }},
        {"STL CONF/ANGULAR_TOL=0.5", [](Settings& s) { s.angularTolerance = 0.5; }},
        {"STL CONF/MINSIZE=3", [](Settings& s) { s.smallestEdge = 3; }},
        {"STL CONF/USE_TESSEL=0", [](Settings& s) { s.keepMeshes = false; }},
        {"STL CONF/COMPUTE_NORMALES_FROM_SURFACE=0", [](Settings& s) { s.normalsFromSurface = false; }},
        {"STL CONF/WRITE_ASCII=1", [](Settings& s) { s.asciiStl = true; }},
        {"FILTRAGE DE DOMAINE/FILAIRE=1", [](Settings& s) { s.wireframe = true; }},
        {"FILTRAGE DE DOMAINE/FDT=1", [](Settings& s) { s.annotations = true; }},
        {"FILTRAGE DE DOMAINE/RENDER_INFOS=0", [](Settings& s) { s.colours = false; }},
        {"FILTRAGE DE DOMAINE/CONSTRUCT_SOLIDS=0", [](Settings& s) { s.constructSolids = false; }},
        {"MODIFICATION D'ATTRIBUT/VISIBILITY=1", [](Settings& s) { s.partVisibility = 1; }},
        {"MODIFICATION D'ATTRIBUT/ASM_VISIBILITY=0", [](Settings& s) { s.assemblyVisibility = 0; }},
        {"TRANSFORMATION ENTITES/BODY_TO_NURBS=1", [](Settings& s) { s.toNurbs = true; }},
        {"TRANSFORMATION ENTITES/KEEP_ASSEMBLY=0", [](Settings& s) { s.keepAssembly = false; }},
        {"FILE CONF/PREVIEW=1", [](Settings& s) { s.picture = true; }},
        {"TRANSFORMATION ENTITES/SEW=1", [](Settings& s) { s.sew = true; }},
        {"STEP CONF/READ_FDT=1", [](Settings& s) { s.readStepAnnotations = true; }},
        {"STEP CONF/WRITE_FDT=0", [](Settings& s) { s.writeStepAnnotations = false; }},
        {"STEP CONF/WRITE_VERSION=203", [](Settings& s) { s.stepVersion = 203; }},
        {"COLLADA CONF/REVERSE_TRANSPARENCY=1", [](Settings& s) { s.reverseTransparency = true; }},
        {"COLLADA CONF/KEEP_ZEL_TREE=0", [](Settings& s) { s.colladaTree = false; }},
        {"COLLADA CONF/NO_INSTANCE_NODE=0", [](Settings& s) { s.colladaCopies = false; }},
        {"COLLADA CONF/VERSION=150", [](Settings& s) { s.colladaVersion = 150; }},
        {"COLLADA CONF/USE_VERTEX_COLOR=1", [](Settings& s) { s.vertexColours = true; }},
        {"TOLERANCE/NB_DECIMALE=3", [](Settings& s) { s.decimals = 3; }},
        {"FILE CONF/WRITE_LOG_FILE=0", [](Settings& s) { s.writeReport = false; }},
        {"FILE CONF/KEEP_PARTIAL=1", [](Settings& s) { s.keepPartial = true; }},
        {"FILE CONF/VERIFY=2", [](Settings& s) { s.verify = 2; }},
    };
    EXPECT_EQ(std::size(cases), SettingNames().size());
    for (const auto& [assignment, expect] : cases) {
        IniFile file;
        file.Override(assignment);
        std::vector<std::string> complaints;
        Settings expected;
        expect(expected);
        EXPECT_EQ(ReadSettings(file, complaints), expected) << assignment;
    }
}

// What the job says arrives whole through a pipe that cuts it anywhere.
TEST(Journal, ArrivesInPiecesOfAnySize) {
    std::string sent;
    Journal journal([&](std::string_view line) { sent += line; });
    journal.Progress(3);
    for (const int dropped : {3, 2, 101}) journal.Progress(dropped);
    EXPECT_EQ(sent, "P3\n");
    journal.Start(Phase::Write);
    journal.Count("read", "free edges", 12'345'678'901);
    journal.Warn("two\nlines");
    journal.Warn(std::string(5000, 'w'));
    journal.Finish(Outcome::Fail(ZEL_EMPTY, "why not"));
    journal.Finish(OutOfMemory());  // over the picture: the first word holds
    for (const std::size_t size : {std::size_t{1}, std::size_t{7}, sent.size()}) {
        JournalRecord record;
        for (std::size_t at = 0; at < sent.size(); at += size)
            record.Take(std::string_view(sent).substr(at, size));
        EXPECT_EQ(record.percent, 3);
        EXPECT_EQ(record.phase, Phase::Write);
        ASSERT_EQ(record.counts.size(), 1u);
        EXPECT_EQ(record.counts[0].side + "|" + record.counts[0].what, "read|free edges");
        EXPECT_EQ(record.counts[0].value, "12345678901");
        ASSERT_EQ(record.warnings.size(), 2u);
        EXPECT_EQ(record.warnings[0], "two lines");
        EXPECT_LT(record.warnings[1].size(), 4096u) << "longer lines of two threads would mix";
        EXPECT_TRUE(record.finished);
        EXPECT_EQ(record.outcome.result, ZEL_EMPTY);
        EXPECT_EQ(record.outcome.reason, "why not");
    }
    JournalRecord record;
    record.Take("S9\nQ\n\nC a\nP x\nhalf");
    EXPECT_FALSE(record.finished);
    EXPECT_EQ(record.phase, Phase::Read);
}

TEST(Journal, KeepsAThousandTextsOfAKind) {
    JournalRecord record;
    Journal journal([&](std::string_view line) { record.Take(line); });
    for (int at = 0; at < 5000; ++at) {
        journal.Warn("warning");
        if (at >= 4000) journal.Lose("face");
    }
    EXPECT_EQ(record.warnings.size(), 1001u);
    EXPECT_EQ(record.warnings[999] + "|" + record.warnings[1000], "warning|more than are listed here");
    EXPECT_EQ(record.losses.size(), 1000u);
}

TEST(Text, XmlIsWellFormedWhateverTheBytes) {
    EXPECT_EQ(XmlText("a<b>&\"c\""), "a&lt;b&gt;&amp;&quot;c&quot;");
    EXPECT_EQ(XmlText("Ω漢😀"), "Ω漢😀");
    const std::string mark = "\xef\xbf\xbd";
    EXPECT_EQ(XmlText(std::string("\0\x1b", 2)), mark + mark);
    EXPECT_EQ(XmlText("\xc3("), mark + "(");                 // cut off
    EXPECT_EQ(XmlText("\xed\xa0\x80"), mark + mark + mark);  // a surrogate
    EXPECT_EQ(XmlText("\xc0\x80\xff"), mark + mark + mark);  // overlong, no lead
    EXPECT_EQ(CleanUtf8("ok\xe6\x97"), "ok" + mark + mark);
}

TEST(Formats, NumbersAndSuffixes) {
    const auto id = [](const Format* format) {
        return format == nullptr ? -1 : static_cast<int>(format->id);
    };
    const auto is = [](FormatId format) { return static_cast<int>(format); };
    EXPECT_EQ(id(FindInputFormat(54, "a.GLB")), is(FormatId::Glb));
    EXPECT_EQ(id(FindInputFormat(54, "a.gltf")), is(FormatId::Gltf));
    EXPECT_EQ(id(FindOutputFormat(54, "a.x.glb")), is(FormatId::Glb));
    EXPECT_EQ(id(FindInputFormat(4, "part.with.odd.suffix")), is(FormatId::Step));
    EXPECT_EQ(id(FindInputFormat(kAnyFormatCode, "a.IGES")), is(FormatId::Iges));
    EXPECT_EQ(id(FindInputFormat(kAnyFormatCode, "a.unknown")), -1);
    EXPECT_EQ(id(FindInputFormat(49, "a.emf")), -1) << "EMF is only written";
    EXPECT_EQ(id(FindOutputFormat(48, "a.ifc")), -1) << "IFC is only read";
    EXPECT_EQ(id(FindOutputFormat(35, "a.dwg")), -1) << "DWG is neither";
    EXPECT_EQ(id(FindOutputFormat(33, "a.dxf")), is(FormatId::DxfDrawing));
    EXPECT_EQ(id(FindOutputFormat(63, "a.dxf")), is(FormatId::Dxf));
    for (const int code : {33, 35, kAnyFormatCode})
        EXPECT_GE(id(FindInputFormat(code, "a.dxf")), is(FormatId::Dxf));
    EXPECT_EQ(id(FindInputFormat(2, "a.stp")), -1) << "the number counts more than the suffix";
    EXPECT_EQ(id(FindFormatByName("3mf")), is(FormatId::ThreeMf));
}

}  // namespace
}  // namespace morvex::test
