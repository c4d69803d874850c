#include "engine/modules/core/messages.h"

#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <cstdio>
#include <mutex>
#include <set>
#include <string>

namespace morvex {
namespace {

constexpr std::size_t kMostMessages = 20;

class JournalPrinter : public Message_Printer {
  public:
    JournalPrinter(Journal& journal, bool echo) : journal_(journal), echo_(echo) {}
    std::size_t Passed() const { return passed_; }
    const std::string& FirstFailure() const { return failure_; }

  protected:
    void send(const TCollection_AsciiString& text, const Message_Gravity gravity) const override {
        const std::lock_guard lock(mutex_);
        if (echo_) std::fprintf(stderr, "%s\n", text.ToCString());
        if (gravity >= Message_Fail && failure_.empty()) failure_ = text.ToCString();
        if (gravity < Message_Warning || text.IsEmpty() || seen_.contains(text.ToCString())) return;
        if (seen_.size() >= kMostMessages) {
            ++passed_;
            return;
        }
        seen_.insert(text.ToCString());
        journal_.Warn(text.ToCString());
    }

  private:
    Journal& journal_;
    bool echo_;
    mutable std::mutex mutex_;
    mutable std::set<std::string> seen_;
    mutable std::string failure_;
    mutable std::size_t passed_ = 0;
};

opencascade::handle<JournalPrinter>& Printer() {
    static opencascade::handle<JournalPrinter> printer;
    return printer;
}

}  // namespace

void JournalProgress::Show(const Message_ProgressScope&, const Standard_Boolean) {
    journal_.Progress(static_cast<int>(GetPosition() * 100));
}

void CollectMessages(Journal& journal, bool echo) {
    Printer() = new JournalPrinter(journal, echo);
    const Handle(Message_Messenger)& messenger = Message::DefaultMessenger();
    messenger->RemovePrinters(STANDARD_TYPE(Message_Printer));
    messenger->AddPrinter(Printer());
}

std::string FirstFailure() {
    return Printer().IsNull() ? std::string() : Printer()->FirstFailure();
}

void FinishMessages(Journal& journal) {
    if (!Printer().IsNull() && Printer()->Passed() > 0) {
        journal.Warn(std::to_string(Printer()->Passed()) + " further messages of the libraries");
    }
}

}  // namespace morvex
