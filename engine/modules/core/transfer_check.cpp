#include "engine/modules/core/transfer_check.h"

#include <Interface_InterfaceModel.hxx>
#include <Transfer_Binder.hxx>
#include <Transfer_TransientProcess.hxx>
#include <XSControl_TransferReader.hxx>

namespace morvex {

void AddLoss(const Handle(XSControl_WorkSession) & session, const Handle(Standard_Type) & faceType,
             TransferLoss& loss) {
    const Handle(Interface_InterfaceModel) model = session->Model();
    const Handle(Transfer_TransientProcess) process = session->TransferReader()->TransientProcess();
    if (model.IsNull() || process.IsNull()) return;
    for (int number = 1; number <= model->NbEntities(); ++number) {
        if (model->IsErrorEntity(number)) ++loss.broken;
        const Handle(Standard_Transient)& entity = model->Value(number);
        if (!entity->IsKind(faceType)) continue;
        ++loss.announced;
        const Handle(Transfer_Binder) binder = process->Find(entity);
        if (binder.IsNull()) {
            ++loss.unreached;
        } else if (!binder->HasResult()) {
            ++loss.lost;
        }
    }
}

Outcome JudgeTransfer(JobContext& context, bool transferred, const TransferLoss& loss) {
    if (!transferred) return Damaged("The contents of the file could not be read");
    const auto some = [&](std::int64_t number) {
        return std::to_string(number) + " of " + std::to_string(loss.announced) + " faces";
    };
    if (loss.lost > 0) return Damaged(some(loss.lost) + " could not be read");
    if (loss.broken > 0 && loss.unreached > 0)
        return Damaged(some(loss.unreached) + " hang on damaged entities");
    if (loss.broken > 0)
        context.journal.Warn(std::to_string(loss.broken) + " entities of the file are malformed");
    if (loss.unreached > 0)
        context.journal.Warn(some(loss.unreached) + " belong to no part and were left out");
    return Outcome::Ok();
}

}  // namespace morvex
