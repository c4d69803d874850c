#include "formats/file_recognition.h"

#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <set>
#include <string>

#include "formats/input_formats.h"

namespace morvex {
namespace {

struct AcceptedExtension {
    std::wstring inputFilterText, extension;
};
const AcceptedExtension kAccepted[] = {
#include "tests/formats/expected_extensions.inc"
};

std::wstring InOtherCase(std::wstring text) {
    for (wchar_t& c : text) {
        if (c >= L'a' && c <= L'z') {
            c = static_cast<wchar_t>(c - L'a' + L'A');
        } else if (c >= L'A' && c <= L'Z') {
            c = static_cast<wchar_t>(c - L'A' + L'a');
        }
    }
    return text;
}

TEST(FileRecognition, EveryFormatAcceptsItsOwnExtensionsAndNoOthers) {
    std::map<std::wstring, std::set<std::wstring>> acceptedBy;
    std::set<std::wstring> extensions = {L"dae", L"stl", L"txt", L"12", L""};
    for (const auto& [filterText, extension] : kAccepted) {
        acceptedBy[filterText].insert(extension);
        extensions.insert(extension);
    }
    ASSERT_EQ(acceptedBy.size(), 61u);
    for (const auto& [filterText, accepted] : acceptedBy) {
        for (const std::wstring& extension : extensions) {
            SCOPED_TRACE(::testing::PrintToString(filterText + L" / " + extension));
            const std::wstring path = L"C:\\some.stp\\x_pd." + extension;
            bool expected = false;
            for (const std::wstring& own : accepted)
                expected = expected || own == extension || own == InOtherCase(extension);
            EXPECT_EQ(IsFileOfInputFormat(path, filterText), expected);
            EXPECT_EQ(IsFileOfInputFormat(InOtherCase(path), filterText), expected);
        }
    }
}

TEST(FileRecognition, InputFormatsWithoutARuleAcceptEveryFile) {
    const std::set<std::wstring> lenient = {L"Creo View (*.ol;*.ed;*.edz;*.pvz;*.pvs)",
                                            L"PDF 3D (*.pdf)",
                                            L"EMPTY (*.empty)",
                                            L"FDT Multi XML New (*.MultiXmlNew)",
                                            L"STL (*.stl)",
                                            L"Cercon (*.art)",
                                            L"IFC (*.ifc;*.ifcxml;*.ifczip)",
                                            L"Inventor 3D (*.ipt,*.iam)",
                                            L"ALL (*.*)"};
    for (const InputFormat& format : InputFormats()) {
        SCOPED_TRACE(::testing::PrintToString(std::wstring(format.filterText)));
        for (const wchar_t* path : {L"C:\\a\\notes.txt", L"C:\\a\\noextension", L"bare"})
            EXPECT_EQ(IsFileOfInputFormat(path, format.filterText), lenient.contains(format.filterText))
                << path;
    }
}

TEST(FileRecognition, NamesThatNeedMoreThanTheExtension) {
    const std::wstring creo3d = L"ProE/Creo Parametric 3D (*.prt;*.prt.*;*.xpr;*.asm;*.asm.*;*.xas)";
    const std::wstring creo2d = L"ProE/Creo Parametric 2D (*.drw;*.drw.*)";
    const std::wstring cadds = L"Cadds (_pd;*._pd)";
    const std::wstring nx = L"UG NX 3D (*.prt)";
    const std::wstring jt = L"JT (*.jt)";
    const std::wstring rhino = L"Rhino (*.3dm)";
    const struct {
        std::wstring filterText, path;
        bool accepted;
    } cases[] = {
        {creo3d, L"C:\\work\\bracket.prt.12", true},
        {creo3d, L"C:\\work\\top.ASM.3", true},
        {creo3d, L"C:\\work\\a.b.prt.3", true},
        {creo3d, L"C:\\work\\bracket.prt.backup", true},
        {creo3d, L"C:\\work\\bracket.prt.", true},
        {creo3d, L"C:\\work\\part.xpr.2", false},
        {creo3d, L"C:\\work\\part.xas.2", false},
        {creo3d, L"C:\\work\\sheet.drw.7", false},
        {creo3d, L"C:\\work\\bracket.prt.12.1", false},
        {creo3d, L"C:\\work\\prt.12", false},
        {creo3d, L"C:\\work.prt.1\\readme", false},
        {creo3d, L"C:\\work.prt\\part.12", false},
        {creo3d, L"bracket.prt.12", false},  // no folder: only the plain extension counts
        {creo3d, L"bracket.prt", true},
        {creo2d, L"C:\\work\\sheet.drw.7", true},
        {creo2d, L"C:\\work\\bracket.prt.12", false},
        {nx, L"C:\\work\\bracket.prt.12", false},
        {cadds, L"C:\\parts.v2\\bolt\\_pd", true},
        {cadds, L"C:\\parts\\bolt\\_PD", true},
        {cadds, L"C:\\parts\\x_pd", false},
        {cadds, L"C:\\parts\\_pd\\x", false},
        {cadds, L"_pd", true},
        {jt, L"jt", true},  // without any dot the whole path is taken for the extension
        {jt, L"C:\\parts\\engine", false},
        {jt, L"C:\\parts\\jt", false},
        {jt, L"C:\\parts\\engine.jt ", false},
        {jt, L"", false},
        {rhino, L"C:\\\u90E8\u54C1.v1\\\u00FCber.3DM", true},
        {L"OBJ (*.obj)", L"C:\\parts\\a.\u00F6bj", false},
        {L"3Shape DCM (*.dcm)", L"C:\\parts\\a.dcm.\u212A", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.filterText + L" / " + c.path));
        EXPECT_EQ(IsFileOfInputFormat(c.path, c.filterText), c.accepted);
    }
}

TEST(FileRecognition, AFilterTextNamesItsExtensions) {
    const struct {
        std::wstring filterText, path;
        bool named;
    } cases[] = {
        {L"STEP (*.step;*.stp)", L"C:\\a.STP", true},
        {L"STEP (*.step;*.stp)", L"C:\\a.ste", false},
        {L"STL (*.stl)", L"C:\\a.step", false},
        {L"Inventor 3D (*.ipt,*.iam)", L"C:\\a.iam", true},
        {L"ALL (*.*)", L"C:\\a.step", false},
        {L"Odd", L"C:\\a.Odd", false},
        {L"", L"C:\\a", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(NamesExtension(c.filterText, c.path), c.named) << testing::PrintToString(c.filterText);
}

}  // namespace
}  // namespace morvex
