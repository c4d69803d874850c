#include "engine/modules/iges/iges_account.h"

#include <IGESData_IGESEntity.hxx>
#include <IGESData_IGESModel.hxx>
#include <Interface_Check.hxx>
#include <Interface_EntityIterator.hxx>
#include <Interface_Graph.hxx>
#include <Interface_ReportEntity.hxx>
#include <TransferBRep.hxx>
#include <Transfer_TransientProcess.hxx>
#include <XSControl_TransferReader.hxx>
#include <algorithm>
#include <span>
#include <unordered_map>
#include <unordered_set>

#include "engine/modules/core/exchange_file.h"
#include "engine/modules/iges/iges_blanking.h"

namespace morvex {
namespace {

constexpr int kFaceTypes[] = {143, 144, 510};  // bounded surface, trimmed surface, face
constexpr int kSolidTypes[] = {186};           // manifold solid

class IgesAccount {
  public:
    IgesAccount(JobContext& context, const IgesScan& file, const Handle(XSControl_WorkSession) & session)
        : context_(context),
          file_(file),
          model_(Handle(IGESData_IGESModel)::DownCast(session->Model())),
          process_(session->TransferReader()->TransientProcess()),
          shapes_(ShapesOf(context.document)),
          graph_(session->Model()) {
        for (int number = 1; number <= model_->NbEntities(); ++number) {
            const Handle(IGESData_IGESEntity) entity = model_->Entity(number);
            entities_.emplace(model_->DNum(entity), entity);
        }
    }

    void Account(const char* what, std::span<const int> types, TopAbs_ShapeEnum shapeType) {
        const auto isOne = [&](int type) { return std::ranges::find(types, type) != types.end(); };
        std::int64_t announced = 0, missing = 0, damaged = 0;
        for (const IgesEntry& entry : file_.entries) {
            if (!isOne(entry.type) && !isOne(entry.typeAgain)) continue;
            const auto found = entities_.find(entry.number);
            const Handle(Standard_Transient) entity = found == entities_.end() ? nullptr : found->second;
            if (hidden_.contains(entity.get())) {
                ++leftOut_;
                continue;
            }
            ++announced;
            if (entity.IsNull() ||
                !IsWithin(shapes_, TransferBRep::ShapeResult(process_, entity), shapeType)) {
                ++missing;
            } else if (HangsOnDamage(entity)) {
                ++damaged;
            }
        }
        context_.journal.Account(what, announced, missing);
        if (damaged > 0) {
            context_.journal.Lose("parts of " + std::to_string(damaged) + " of " + std::to_string(announced) +
                                  " " + what);
        }
    }

    // What is blanked by itself, and all that hangs on it, is none of the account.
    void PassOverHidden() {
        for (int number = 1; number <= model_->NbEntities(); ++number) {
            const Handle(IGESData_IGESEntity) entity = model_->Entity(number);
            if (IsBlanked(entity)) Hide(entity);
        }
    }

    void AccountForLines() {
        static constexpr const char* kNames[] = {"lines of the start", "lines of the global section",
                                                 "lines of the directory", "lines of parameters"};
        for (std::size_t at = 2; at < file_.lines.size(); ++at) {
            const std::int64_t missing = file_.announcedLines[at] - file_.lines[at];
            if (missing > 0)
                context_.journal.Lose(std::to_string(missing) + " of " +
                                      std::to_string(file_.announcedLines[at]) + ' ' + kNames[at]);
        }
    }

    void WarnOfTheRest() {
        if (leftOut_ > 0)
            context_.journal.Warn(std::to_string(leftOut_) + " hidden solids and faces were left out");
        std::int64_t malformed = file_.stray;
        for (int number = 1; number <= model_->NbEntities(); ++number)
            malformed += model_->IsErrorEntity(number);
        if (malformed > 0)
            context_.journal.Warn(std::to_string(malformed) + " entities or lines of the file are malformed");
    }

  private:
    void Hide(const Handle(Standard_Transient) & entity) {
        if (!hidden_.insert(entity.get()).second) return;
        for (Interface_EntityIterator below = graph_.Shareds(entity); below.More(); below.Next())
            Hide(below.Value());
    }

    bool HangsOnDamage(const Handle(Standard_Transient) & entity) {
        const auto [place, isNew] = known_.try_emplace(entity.get(), false);
        if (!isNew) return place->second;
        const int number = model_->Number(entity);
        bool damaged = number == 0 || model_->IsErrorEntity(number);
        if (!damaged) {
            for (Interface_EntityIterator below = graph_.Shareds(entity); below.More() && !damaged;
                 below.Next())
                damaged = HangsOnDamage(below.Value());
        }
        return known_[entity.get()] = damaged;
    }

    JobContext& context_;
    const IgesScan& file_;
    Handle(IGESData_IGESModel) model_;
    Handle(Transfer_TransientProcess) process_;
    ShapeSet shapes_;
    Interface_Graph graph_;
    std::unordered_map<int, Handle(Standard_Transient)> entities_;
    std::unordered_map<const Standard_Transient*, bool> known_;
    std::unordered_set<const Standard_Transient*> hidden_;
    std::int64_t leftOut_ = 0;
};

}  // namespace

void AccountForIges(JobContext& context, const IgesScan& file, const Handle(XSControl_WorkSession) & session,
                    bool leaveOutHidden) {
    IgesAccount account(context, file, session);
    if (leaveOutHidden) account.PassOverHidden();
    account.AccountForLines();
    account.Account("solids", kSolidTypes, TopAbs_SOLID);
    account.Account("faces", kFaceTypes, TopAbs_FACE);
    account.WarnOfTheRest();
}

}  // namespace morvex
