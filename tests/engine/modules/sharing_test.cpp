// One conversion by several processes: what comes out is what one of them would have made.
#include <BRepAlgoAPI_Cut.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRep_Builder.hxx>
#include <Quantity_Color.hxx>
#include <STEPCAFControl_Writer.hxx>
#include <TDocStd_Application.hxx>
#include <TDocStd_Document.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS_Compound.hxx>
#include <XCAFDoc_ColorTool.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <regex>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "engine/modules/core/helpers.h"
#include "engine/modules/step/step_shares.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

// A plate with rows of holes, some forty kilobytes of STEP.
TopoDS_Shape Plate(double thickness, int rows) {
    TopoDS_Compound holes;
    const BRep_Builder builder;
    builder.MakeCompound(holes);
    for (int at = 0; at < rows * 5; ++at) {
        const gp_Ax2 axis(gp_Pnt(2 + at % 5 * 4, 2 + at / 5 * 4, -1), gp::DZ());
        builder.Add(holes, BRepPrimAPI_MakeCylinder(axis, 1 + 0.01 * at, thickness + 2).Shape());
    }
    return BRepAlgoAPI_Cut(BRepPrimAPI_MakeBox(22, rows * 4.0, thickness).Shape(), holes).Shape();
}

// Plates by themselves, three in one part, and one that is used twice; some have colours, and some of their
// faces.
void WriteManyBodies(const std::string& path, int count) {
    Handle(TDocStd_Document) document;
    Handle(TDocStd_Application)(new TDocStd_Application)->NewDocument("BinXCAF", document);
    const auto shapes = XCAFDoc_DocumentTool::ShapeTool(document->Main());
    const auto colours = XCAFDoc_DocumentTool::ColorTool(document->Main());
    const TDF_Label top = shapes->NewShape();
    const BRep_Builder builder;
    for (int at = 0; at < count; ++at) {
        TopoDS_Compound several;
        builder.MakeCompound(several);
        for (int body = 0; body < 3; ++body) builder.Add(several, Plate(1 + at + 0.1 * body, 3 + body));
        const TopoDS_Shape shape = at == 0 ? TopoDS_Shape(several) : Plate(1 + at, 3 + at % 4);
        const TDF_Label part = shapes->AddShape(shape, Standard_False);
        gp_Trsf place;
        place.SetTranslation(gp_Vec(0, 0, 10 * at));
        shapes->AddComponent(top, part, place);
        place.SetTranslation(gp_Vec(40, 0, 10 * at));
        if (at == 1) shapes->AddComponent(top, part, place);
        if (at % 2 == 0) colours->SetColor(part, Quantity_Color(Quantity_NOC_RED), XCAFDoc_ColorSurf);
        const TopExp_Explorer face(shape, TopAbs_FACE);
        if (at % 3 == 0)
            colours->SetColor(shapes->AddSubShape(part, face.Current()), Quantity_Color(Quantity_NOC_BLUE1),
                              XCAFDoc_ColorSurf);
    }
    shapes->UpdateAssemblies();
    STEPCAFControl_Writer writer;
    ASSERT_TRUE(writer.Transfer(document, STEPControl_AsIs));
    ASSERT_EQ(writer.Write(path.c_str()), IFSelect_RetDone);
}

// What a conversion left: all of the report but what differs from run to run, and the output; but not that of
// STEP, whose styles the library's writer puts in the order of addresses.
std::string ResultOf(const std::string& input, const std::string& output,
                     const std::vector<std::string>& options) {
    std::vector<std::string> arguments = options;
    arguments.insert(arguments.end(), {input, output});
    const WorkerRun run = RunWorker(arguments);
    const std::regex passing("<(time|memory|output) .*");
    const std::string report = std::regex_replace(ReadWhole(output + "-zel.xml"), passing, "");
    const bool hasBytes = run.code == 0 && !output.ends_with(".step");
    return std::to_string(run.code) + report + (hasBytes ? ReadWhole(output) : std::string());
}

std::size_t SharesOf(const std::string& step) {
    const StepScan scan(step);
    return ShareOut(scan, 2).shares.size();
}

// With a body's first face, or the placing of a part, damaged.
std::string WithDamage(std::string step, const std::string& entity) {
    const std::size_t at = step.find('#', step.find(entity) + entity.size());
    return step.replace(at, step.find_first_not_of("0123456789", at + 1) - at, "$");
}

TEST(Sharing, GivesWhatOneProcessGives) {
    if (std::thread::hardware_concurrency() < 2) GTEST_SKIP() << "needs two processors";
    const ScratchFolder folder;
    const std::string input = folder / "many.step";
    WriteManyBodies(input, 10);
    const std::string whole = ReadWhole(input);
    ASSERT_EQ(SharesOf(whole), 2u);
    const auto compare = [&](const char* what, const char* output, std::vector<std::string> options) {
        SCOPED_TRACE(std::string(what) + " to " + output);
        const std::string shared = ResultOf(input, folder / output, options);
        options.emplace_back("--jobs-beside");
        const std::string alone = ResultOf(input, folder / output, options);
        const auto same = std::ranges::mismatch(shared, alone).in1 - shared.begin();
        const auto from = static_cast<std::size_t>(std::max<std::ptrdiff_t>(same - 200, 0));
        EXPECT_TRUE(shared == alone) << shared.substr(from, 400) << "\n-- by one process:\n"
                                     << alone.substr(from, 400);
        return shared;
    };
    for (const char* output : {"a.stl", "a.glb", "a.3mf", "a.step", "a.brep", "a.xml"})
        EXPECT_TRUE(compare("sound", output, {}).starts_with('0'));
    for (const char* entity : {"=ADVANCED_FACE('',(", "=EDGE_CURVE('',", "=CYLINDRICAL_SURFACE('',",
                               "= EDGE_CURVE('',", "= ADVANCED_FACE('',("}) {
        if (whole.find(entity) == std::string::npos) continue;
        WriteWhole(input, WithDamage(whole, entity));
        EXPECT_FALSE(compare(entity, "b.stl", {}).starts_with('0'));
        compare(entity, "c.stl", {"--keep-partial"});
    }
}

TEST(Sharing, HelpersSayAllOrNothingIsSaid) {
    const std::string large(3 << 20, 'x');
    const auto listen = [&](const Helpers::Work& work, std::size_t& heard) {
        Helpers helpers(3, work);
        return helpers.Listen([&](std::size_t number, char kind, std::string_view message) {
            heard += kind == 'a' + static_cast<char>(number) ? message.size() : 0;
        });
    };
    std::size_t heard = 0;
    EXPECT_TRUE(listen(
        [&](std::size_t number, const Helpers::Say& say) {
            for (int times = 0; times < 3; ++times) {
                say('a' + static_cast<char>(number), large);
                say('a' + static_cast<char>(number), {});
                say('a' + static_cast<char>(number), "12345");
            }
        },
        heard));
    EXPECT_EQ(heard, 9 * (large.size() + 5));
    const auto onlyThird = [](auto fall) {
        return [fall](std::size_t number, const Helpers::Say& say) {
            say('x', "so far");
            if (number == 2) fall();
            if (number == 1) pause();  // has to be ended
        };
    };
    EXPECT_FALSE(listen(onlyThird([] { std::abort(); }), heard));
    EXPECT_FALSE(listen(onlyThird([] { throw 1; }), heard));
    EXPECT_FALSE(listen(onlyThird([] { _exit(0); }), heard));
}

// Both ends of a pipe, of which the processes that are copied have one too.
TEST(Sharing, HelpersDieWithTheirProcess) {
    int pipe[2];
    ASSERT_EQ(::pipe(pipe), 0);
    const pid_t job = fork();
    if (job == 0) {
        close(pipe[0]);
        Helpers helpers(2, [](std::size_t, const Helpers::Say& say) {
            say('r', "ready");
            for (;;) pause();
        });
        int ready = 0;
        helpers.Listen([&](std::size_t, char, std::string_view) {
            if (++ready == 2) kill(getpid(), SIGKILL);
        });
        _exit(0);
    }
    close(pipe[1]);
    int status = 0;
    waitpid(job, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    alarm(20);  // should a helper live on
    char none = 0;
    EXPECT_EQ(read(pipe[0], &none, 1), 0);
    alarm(0);
    close(pipe[0]);
}

}  // namespace
}  // namespace morvex::test
