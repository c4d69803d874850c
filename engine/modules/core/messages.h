// The libraries' progress and messages, brought to the journal.
#pragma once

#include <Message_Printer.hxx>
#include <Message_ProgressIndicator.hxx>
#include <string>

#include "engine/common/journal.h"

namespace morvex {

class JournalProgress : public Message_ProgressIndicator {
  public:
    explicit JournalProgress(Journal& journal) : journal_(journal) {}
    void Show(const Message_ProgressScope& scope, const Standard_Boolean force) override;

  private:
    Journal& journal_;
};

// Takes the place of the default messenger's printers, which write to standard output. The first few failures
// and warnings become warnings of the report; the rest are counted.
void CollectMessages(Journal& journal, bool echo);
// The first message since then of something that went wrong for good; empty when there was none.
std::string FirstFailure();
// Says how many messages were passed over.
void FinishMessages(Journal& journal);

}  // namespace morvex
