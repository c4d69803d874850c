// Whether a reader of exchange files brought over everything that the file announced.
#pragma once

#include <XSControl_WorkSession.hxx>
#include <cstdint>

#include "engine/modules/core/context.h"

namespace morvex {

struct TransferLoss {
    std::int64_t announced = 0;  // face entities in the file
    std::int64_t lost = 0;       // of those, tried without a result
    std::int64_t unreached = 0;  // of those, never tried
    std::int64_t broken = 0;     // entities of any kind that could not be parsed
};

void AddLoss(const Handle(XSControl_WorkSession) & session, const Handle(Standard_Type) & faceType,
             TransferLoss& loss);

inline TransferLoss CountLoss(const Handle(XSControl_WorkSession) & session,
                              const Handle(Standard_Type) & faceType) {
    TransferLoss loss;
    AddLoss(session, faceType, loss);
    return loss;
}

// A damaged file of which only a part came over is refused, since its result would pass for a whole one.
// Oddities that cost no face become warnings.
Outcome JudgeTransfer(JobContext& context, bool transferred, const TransferLoss& loss);

}  // namespace morvex
