#include "engine/modules/core/exchange_file.h"

#include <Interface_InterfaceModel.hxx>
#include <Transfer_Binder.hxx>
#include <Transfer_TransientProcess.hxx>
#include <XSControl_TransferReader.hxx>
#include <algorithm>

namespace morvex {
namespace {

struct TransferLoss {
    std::int64_t announced = 0;  // face entities in the file
    std::int64_t lost = 0;       // of those, tried without a result
    std::int64_t unreached = 0;  // of those, never tried
    std::int64_t broken = 0;     // entities of any kind that could not be parsed
};

TransferLoss CountLoss(const Handle(XSControl_WorkSession) & session,
                       std::initializer_list<Handle(Standard_Type)> faceTypes) {
    TransferLoss loss;
    const Handle(Interface_InterfaceModel) model = session->Model();
    const Handle(Transfer_TransientProcess) process = session->TransferReader()->TransientProcess();
    if (model.IsNull() || process.IsNull()) return loss;
    for (int number = 1; number <= model->NbEntities(); ++number) {
        if (model->IsErrorEntity(number)) ++loss.broken;
        const Handle(Standard_Transient)& entity = model->Value(number);
        if (std::ranges::none_of(faceTypes, [&](const auto& type) { return entity->IsKind(type); })) continue;
        ++loss.announced;
        const Handle(Transfer_Binder) binder = process->Find(entity);
        if (binder.IsNull()) {
            ++loss.unreached;
        } else if (!binder->HasResult()) {
            ++loss.lost;
        }
    }
    return loss;
}

}  // namespace

Outcome JudgeTransfer(JobContext& context, bool transferred, const Handle(XSControl_WorkSession) & session,
                      std::initializer_list<Handle(Standard_Type)> faceTypes) {
    const TransferLoss loss = CountLoss(session, faceTypes);
    if (!transferred) return Damaged("The contents of the file could not be read");
    const auto some = [&](std::int64_t number) {
        return std::to_string(number) + " of " + std::to_string(loss.announced) + " faces";
    };
    if (loss.lost > 0) return Damaged(some(loss.lost) + " could not be read");
    if (loss.broken > 0 && loss.unreached > 0)
        return Damaged(some(loss.unreached) + " depend on damaged entities");
    if (loss.broken > 0)
        context.journal.Warn(std::to_string(loss.broken) + " entities of the file are malformed");
    if (loss.unreached > 0)
        context.journal.Warn(some(loss.unreached) + " belong to no part and were left out");
    return Outcome::Ok();
}

Outcome NotTransferred(const JobContext& context) {
    return Outcome::Fail(ZEL_FAILED, std::string("The model could not be turned into ") +
                                         context.request.to->name + " entities");
}

}  // namespace morvex
