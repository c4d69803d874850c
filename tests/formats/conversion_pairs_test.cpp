#include "formats/conversion_pairs.h"

#include <gtest/gtest.h>

#include "formats/format_groups.h"

namespace morvex {
namespace {

using Texts = std::vector<std::wstring>;

const std::wstring kStepIn = L"STEP (*.step;*.stp;*.stpz;*.stpx;*.stpxz;*.stpnc;*.stpa)";
const std::wstring kIgesIn = L"IGES 3D (*.igs;*.iges)";
const std::wstring kNative = L"NORWEND (*.wbi)";

Texts OutputTexts(const ConversionPairs& pairs, const std::wstring& input) {
    Texts texts;
    if (const auto* outputs = pairs.OutputsOf(input))
        for (const ConversionPair& pair : *outputs) texts.push_back(pair.outputFilterText);
    return texts;
}

Texts Inputs(const ConversionPairs& pairs) {
    Texts inputs;
    for (const auto& [input, outputs] : pairs.All()) inputs.push_back(input);
    return inputs;
}

TEST(ConversionPairs, APairCarriesItsFilterExtensionAndConfigFile) {
    ConversionPairs pairs;
    pairs.RegisterConversionPair(L"CATIA V5 3D", L"PARASOLID Binary", L"v5 to xmt.zel");
    const ConversionPair* pair =
        pairs.Find(L"CATIA V5 3D (*.CATPart;*.CATProduct)", L"PARASOLID Binary (*.x_b)");
    ASSERT_NE(pair, nullptr);
    EXPECT_EQ(
        pair->inputDialogFilter,
        L"CATIA V5 3D (*.CATPart;*.CATProduct)|*.CATPart;*.CATProduct|CATIA V5 3D (*.CATPart)|*.CATPart|"
        L"CATIA V5 3D (*.CATProduct)|*.CATProduct|");
    EXPECT_EQ(pair->outputExtension, L".x_b");
    EXPECT_EQ(pair->configFile, L"v5 to xmt.zel");
    EXPECT_EQ(pairs.Find(kStepIn, L"PARASOLID Binary (*.x_b)"), nullptr);
    EXPECT_EQ(pairs.Find(L"CATIA V5 3D (*.CATPart;*.CATProduct)", L"STL (*.stl)"), nullptr);
    EXPECT_EQ(pairs.OutputsOf(kStepIn), nullptr);
}

TEST(ConversionPairs, UnknownNamesRegisterNothing) {
    ConversionPairs pairs;
    pairs.RegisterProfile(L"ALL_3D,step, STEP,", L"STL,ALL_2D", L"a.zel");
    pairs.RegisterProfile(L"STEP", L"all_2d,ALL_4D, STL,,DWG 2D", L"a.zel");
    EXPECT_TRUE(pairs.All().empty());
    pairs.RegisterProfile(L"STEP", L"Nothing,DWG,STL", L"a.zel");
    EXPECT_EQ(OutputTexts(pairs, kStepIn), (Texts{L"DWG (*.dwg)", L"STL (*.stl)"}));
}

TEST(ConversionPairs, GroupsStandForTheirOutputsInOrder) {
    const struct {
        const wchar_t* group;
        Texts outputs;
    } cases[] = {
        {L"ALL_3D",
         {L"IGES (*.igs)",
          L"STEP (*.stp)",
          L"CATIA V5 (*.CATPart;*.CATProduct)",
          L"VRML (*.wrl)",
          L"STL (*.stl)",
          L"Collada (*.dae)",
          L"PDF 3D (*.pdf)",
          L"OCC (*.brep)",
          L"SOLIDWORKS (*.sldprt;*.sldasm)",
          L"OBJ (*.obj)",
          L"3DXML (*.3dxml)",
          L"ACIS (*.sat)",
          L"UG NX (*.prt)",
          L"3MF (*.3mf)",
          L"PRC (*.prc)",
          L"CGR (*.cgr)",
          L"JT (*.jt)",
          L"PARASOLID (*.x_t)",
          L"PARASOLID Binary (*.x_b)",
          L"FBX (*.fbx)",
          L"glTF (*.gltf)",
          L"glTF Binary (*.glb)",
          L"IFC (*.ifc)",
          L"PLM XML (*.plmxml)"}},
        {L"ALL_2D", {L"PDF 2D (*.pdf)", L"DXF (*.dxf)"}},
        {L"ALL_MESH",
         {L"Collada (*.dae)", L"JT (*.jt)", L"PDF 3D (*.pdf)", L"PRC (*.prc)", L"STL (*.stl)",
          L"VRML (*.wrl)", L"OBJ (*.obj)", L"3MF (*.3mf)", L"3DXML (*.3dxml)", L"FBX (*.fbx)",
          L"glTF (*.gltf)", L"glTF Binary (*.glb)", L"IFC (*.ifc)"}},
        {L"ALL_SURF",
         {L"IGES (*.igs)", L"STEP (*.stp)", L"CATIA V5 (*.CATPart;*.CATProduct)", L"PDF 3D (*.pdf)",
          L"OCC (*.brep)", L"SOLIDWORKS (*.sldprt;*.sldasm)", L"3DXML (*.3dxml)", L"ACIS (*.sat)",
          L"UG NX (*.prt)", L"CGR (*.cgr)", L"PARASOLID (*.x_t)", L"PARASOLID Binary (*.x_b)"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(std::wstring(c.group)));
        ConversionPairs pairs;
        pairs.RegisterProfile(L"STEP,IGES 3D", std::wstring(c.group) + L",EMF", L"a.zel");
        Texts expected = c.outputs;
        expected.push_back(L"EMF (*.emf)");
        EXPECT_EQ(OutputTexts(pairs, kStepIn), expected);
        EXPECT_EQ(OutputTexts(pairs, kIgesIn), expected);
        EXPECT_EQ(pairs.All().size(), 2u);
    }
}

TEST(ConversionPairs, KeepsInputsInCodeUnitOrderAndRepeatedPairs) {
    ConversionPairs pairs;
    pairs.RegisterProfile(L"glTF,STL,3Shape DCM,IGES 3D,IGES 2D", L"STL", L"first.zel");
    pairs.RegisterProfile(L"STL", L"OBJ,STL", L"second.zel");
    EXPECT_EQ(Inputs(pairs), (Texts{L"3Shape DCM (*.dcm)", L"IGES 2D (*.igs;*.iges;*.ig2)", kIgesIn,
                                    L"STL (*.stl)", L"glTF (*.gltf)"}));
    EXPECT_EQ(OutputTexts(pairs, L"STL (*.stl)"), (Texts{L"STL (*.stl)", L"OBJ (*.obj)", L"STL (*.stl)"}));
    EXPECT_EQ(pairs.Find(L"STL (*.stl)", L"STL (*.stl)")->configFile, L"first.zel");
}

TEST(ConversionPairs, NativeFormatJoinsBothSides) {
    ConversionPairs pairs;
    pairs.AddNativeFormat();
    EXPECT_TRUE(pairs.All().empty());

    pairs.RegisterProfile(L"STEP", L"VRML,STL", L"a.zel");
    pairs.RegisterProfile(L"IGES 3D", L"STEP,NORWEND,STL", L"b.zel");
    pairs.AddNativeFormat();
    EXPECT_EQ(OutputTexts(pairs, kStepIn), (Texts{L"VRML (*.wrl)", L"STL (*.stl)", kNative}));
    EXPECT_EQ(OutputTexts(pairs, kIgesIn), (Texts{L"STEP (*.stp)", kNative, L"STL (*.stl)"}));
    EXPECT_EQ(OutputTexts(pairs, kNative),
              (Texts{L"STEP (*.stp)", kNative, L"STL (*.stl)", L"VRML (*.wrl)"}));
    EXPECT_EQ(pairs.Find(kStepIn, kNative)->configFile, L"");
    EXPECT_EQ(pairs.Find(kStepIn, kNative)->outputExtension, L".wbi");
    EXPECT_EQ(pairs.Find(kIgesIn, kNative)->configFile, L"b.zel");
    EXPECT_EQ(pairs.Find(kNative, L"STL (*.stl)")->inputDialogFilter, L"NORWEND (*.wbi)|*.wbi|");
}

TEST(ConversionPairs, RepairsASavedChoiceThatNoProfileOffers) {
    ConversionPairs none, some;
    some.RegisterProfile(L"STEP,IGES 3D", L"STL,OBJ", L"a.zel");
    const struct {
        const ConversionPairs& pairs;
        std::wstring in, out;
        bool stands;
        std::wstring newIn, newOut;
    } cases[] = {
        {some, kStepIn, L"OBJ (*.obj)", true, kStepIn, L"OBJ (*.obj)"},
        {some, kNative, L"anything", true, kNative, L"anything"},
        {none, kNative, L"", true, kNative, L""},
        {some, kStepIn, L"obj (*.obj)", false, kIgesIn, L""},
        {some, kStepIn, L"", false, kIgesIn, L""},
        {some, kIgesIn, L"VRML (*.wrl)", false, kIgesIn, L""},
        {some, L"JT (*.jt)", L"OBJ (*.obj)", false, kIgesIn, L""},
        {some, L"", L"", false, kIgesIn, L""},
        {none, kStepIn, L"OBJ (*.obj)", false, L"", L""},
        {none, L"", L"", false, L"", L""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.in + L" -> " + c.out));
        std::wstring in = c.in, out = c.out;
        EXPECT_EQ(c.pairs.ValidateSavedPair(in, out), c.stands);
        EXPECT_EQ(in, c.newIn);
        EXPECT_EQ(out, c.newOut);
    }
}

TEST(FormatGroups, ProgressGroupIsTwoInputsOrABitMaskOfOutputs) {
    constexpr unsigned kOutputMask = 0x146180;
    for (int input : {-1, 0, 1, 4, 12, 13, 14, 41, 101}) {
        for (int output = -1; output <= 120; ++output) {
            const bool outputInMask = output >= 0 && output <= 20 && ((kOutputMask >> output) & 1u) != 0;
            EXPECT_EQ(IsProgressGroup(input, output), input == 41 || input == 13 || outputInMask)
                << input << " -> " << output;
        }
    }
}

}  // namespace
}  // namespace morvex
