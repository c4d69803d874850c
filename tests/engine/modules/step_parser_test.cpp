// The engine's own STEP parser makes the model that the library's would make, or leaves the text to it.
#include "engine/modules/step/step_parser.h"

#include <STEPControl_Reader.hxx>
#include <StepData_Protocol.hxx>
#include <StepData_StepModel.hxx>
#include <StepData_StepWriter.hxx>
#include <XSControl_WorkSession.hxx>
#include <gtest/gtest.h>
#include <sstream>

#include "tests/engine/support/samples.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

// All that the model of a session holds, written out again, with the number of entities that are broken.
std::string TextOf(const Handle(XSControl_WorkSession) & session) {
    const auto model = Handle(StepData_StepModel)::DownCast(session->Model());
    if (model.IsNull()) return "no model";
    StepData_StepWriter writer(model);
    writer.SendModel(Handle(StepData_Protocol)::DownCast(session->Protocol()));
    std::ostringstream text;
    writer.Print(text);
    int broken = 0;
    for (int number = 1; number <= model->NbEntities(); ++number) {
        broken += model->IsErrorEntity(number);
        text << model->IdentLabel(model->Value(number)) << ' ';
    }
    text << "\nbroken: " << broken;
    return text.str();
}

std::string ByLibrary(const std::string& text) {
    STEPControl_Reader reader;
    std::istringstream stream(text);
    if (reader.ReadStream("file", stream) != IFSelect_RetDone) return "not read";
    return TextOf(reader.WS());
}

// Empty where it is left to the library.
std::string ByEngine(const std::string& text) {
    STEPControl_Reader reader;
    return ParseStepText(text, "file", reader.WS()) ? TextOf(reader.WS()) : "";
}

std::string FileOf(const std::string& data) {
    return "ISO-10303-21;\nHEADER;\nFILE_DESCRIPTION((''),'2;1');\nFILE_NAME('n','t',('a','b'),(''),'p','s','"
           "');\n"
           "FILE_SCHEMA(('AUTOMOTIVE_DESIGN'));\nENDSEC;\nDATA;\n" +
           data + "ENDSEC;\nEND-ISO-10303-21;\n";
}

TEST(StepParser, MakesTheModelThatTheLibraryMakes) {
    const ScratchFolder folder;
    WriteAssembly(folder / "assembly.step");
    std::vector<std::string> texts = {ReadWhole(folder / "assembly.step"),
                                      ReadWhole(Sample("step/screw.step"))};
    for (const char* data :
         {"#1=CARTESIAN_POINT('it''s , (#1) ;',(1.,-2.5E-003,+3));\n",
          "#1 \t= /* why; */ DIRECTION ( 'a\nb' , ( /* (' */ 0. , 0.,1.) ) ;\r\n#2=VECTOR('',#1,1.);",
          "#5=(LENGTH_UNIT()NAMED_UNIT(*)SI_UNIT(.MILLI.,.METRE.));\n#6=UNCERTAINTY_MEASURE_WITH_UNIT("
          "LENGTH_MEASURE(1.E-07),#5,'d','');",
          "#1=B_SPLINE_CURVE_WITH_KNOTS('',1,(#2,#2),.UNSPECIFIED.,.F.,.U.,(2,2),(0.,1.),.UNSPECIFIED.);\n"
          "#2=CARTESIAN_POINT('',(0.,-.5,1.));",
          "#1=PRODUCT('','',$,());#2=NO_SUCH_ENTITY(((1,2),(3,(4))),#1,.T.);",
          "#1=LINE('',#2,#9);#2=CARTESIAN_POINT('',(0.,0.));"})
        texts.push_back(FileOf(data));
    for (const std::string& text : texts) {
        const std::string ours = ByEngine(text);
        EXPECT_FALSE(ours.empty()) << text.substr(0, 400);
        EXPECT_EQ(ours, ByLibrary(text));
    }
}

// None of these may be read otherwise than by the library, which tells what is wrong with it.
TEST(StepParser, LeavesWhatIsNotSoundToTheLibrary) {
    for (const char* data :
         {"#1=CARTESIAN_POINT('',(0.,0.,0.))\n", "#1=CARTESIAN_POINT('',(0.,,0.));",
          "#1=CARTESIAN_POINT('',(0. 0.));", "#1=CARTESIAN_POINT('',(0.,0.,0.);",
          "#1=CARTESIAN_POINT('',(0.,0.,0.)));", "#1=CARTESIAN_POINT('a;",
          "#1=&SCOPE #2=DIRECTION('',(1.,0.,0.)); ENDSCOPE VECTOR('',#2,1.);",
          "#1=DIRECTION('x',(1.e5,0.,0.));", "#=DIRECTION('',(1.,0.,0.));",
          "#1=DIRECTION('a'',',(1.,0.,0.));", "", "#1=!OWN('');", "#1=DIRECTION('',(1.,0.,.));",
          "#99999999999=DIRECTION('',(1.,0.,0.));", "#1=DIRECTION('',(-,0.,0.));",
          "#1=DIRECTION('',(1.,0.,0.)) /* ;", "#1=(", "#1", "#1=A(((((((((((((((("})
        EXPECT_EQ(ByEngine(FileOf(data)), "") << data;
    const std::string whole =
        FileOf("#1=(LENGTH_UNIT()NAMED_UNIT(*)SI_UNIT($,.METRE.));#2=DIRECTION('d',(1.,0.,0.));");
    ASSERT_NE(ByEngine(whole), "");
    // Without the last sign it is whole still.
    for (std::size_t size = 0; size + 2 < whole.size(); ++size)
        EXPECT_EQ(ByEngine(whole.substr(0, size)), "") << size;
}

}  // namespace
}  // namespace morvex::test
