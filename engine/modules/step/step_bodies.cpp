#include "engine/modules/step/step_bodies.h"

#include <BinTools_ShapeSet.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <Message_Printer.hxx>
#include <Message_ProgressIndicator.hxx>
#include <Message_ProgressScope.hxx>
#include <StepData_StepModel.hxx>
#include <TransferBRep.hxx>
#include <TransferBRep_ShapeBinder.hxx>
#include <Transfer_TransientProcess.hxx>
#include <XSControl_TransferReader.hxx>
#include <XSControl_WorkSession.hxx>
#include <algorithm>
#include <sstream>

#include "engine/common/paths.h"
#include "engine/modules/core/exchange_file.h"
#include "engine/modules/core/input_bytes.h"
#include "engine/modules/step/step_parser.h"

namespace morvex {
namespace {

// Kinds of messages: the shapes of a body, the percentage, a text of the library by its gravity.
constexpr char kBody = 'B', kPercent = 'P', kText = 'T';

class HelperProgress : public Message_ProgressIndicator {
  public:
    explicit HelperProgress(const Helpers::Say& say) : say_(say) {}
    void Show(const Message_ProgressScope&, const Standard_Boolean) override {
        const int percent = static_cast<int>(GetPosition() * 100);
        if (percent <= percent_) return;
        percent_ = percent;
        say_(kPercent, std::string(1, static_cast<char>(percent)));
    }

  private:
    const Helpers::Say& say_;
    int percent_ = 0;
};

class HelperPrinter : public Message_Printer {
  public:
    explicit HelperPrinter(const Helpers::Say& say) : say_(say) {}

  protected:
    void send(const TCollection_AsciiString& text, const Message_Gravity gravity) const override {
        if (gravity >= Message_Warning && !text.IsEmpty())
            say_(kText, static_cast<char>(gravity) + std::string(text.ToCString()));
    }

  private:
    const Helpers::Say& say_;
};

template <class Number>
void Put(std::ostream& stream, Number number) {
    stream.write(reinterpret_cast<const char*>(&number), sizeof number);
}
template <class Number>
Number Get(std::istream& stream) {
    Number number{};
    stream.read(reinterpret_cast<char*>(&number), sizeof number);
    return number;
}

// A helper at its work. Whatever is not as it should be ends it.
class ShareWork {
  public:
    ShareWork(const JobContext& context, const StepShares& shares, const Helpers::Say& say)
        : shares_(shares), say_(say), reader_(NewStepReader(context)), context_(context) {
        const Handle(Message_Messenger)& messenger = Message::DefaultMessenger();
        messenger->RemovePrinters(STANDARD_TYPE(Message_Printer));
        messenger->AddPrinter(new HelperPrinter(say));
    }

    void Do(const StepShares::Share& share) {
        if (!ParseStep(context_, reader_, share.text).IsOk()) throw std::runtime_error("not parsed");
        const auto session = reader_.Reader().WS();
        model_ = Handle(StepData_StepModel)::DownCast(session->Model());
        for (int number = 1; number <= model_->NbEntities(); ++number) {
            if (model_->IsErrorEntity(number)) throw std::runtime_error("a broken entity");
            entities_.emplace(static_cast<StepId>(model_->IdentLabel(model_->Value(number))), number);
        }
        session->TransferReader()->BeginTransfer();
        process_ = session->TransferReader()->TransientProcess();
        const Handle(HelperProgress) progress = new HelperProgress(say_);
        Message_ProgressScope bodies(progress->Start(), nullptr, static_cast<double>(share.bodies.size()));
        for (const StepId body : share.bodies) {
            const int first = process_->NbMapped() + 1;
            const Handle(Standard_Transient) entity = model_->Value(entities_.at(body));
            if (TransferBRep::ShapeResult(process_->Transferring(entity, bodies.Next())).IsNull())
                throw std::runtime_error("a body without a shape");
            Send(first);
        }
    }

  private:
    // The shapes that belong to entities bound since then, and the set that they share.
    void Send(int first) const {
        BinTools_ShapeSet set;
        set.SetFormatNb(BinTools_FormatVersion_VERSION_3);  // the only one that keeps all flags and points
        std::vector<std::pair<StepId, TopoDS_Shape>> shapes;
        for (int at = first; at <= process_->NbMapped(); ++at) {
            const TopoDS_Shape shape = TransferBRep::ShapeResult(process_->MapItem(at));
            const auto id = static_cast<StepId>(model_->IdentLabel(process_->Mapped(at)));
            if (shape.IsNull() || !shares_.wanted.contains(id)) continue;
            shapes.emplace_back(id, shape);
            set.Add(shape);
        }
        std::ostringstream stream;
        set.Write(stream);
        Put(stream, shapes.size());
        for (const auto& [id, shape] : shapes) {
            Put(stream, id);
            set.Write(shape, stream);
        }
        say_(kBody, stream.view());
    }

    const StepShares& shares_;
    const Helpers::Say& say_;
    STEPCAFControl_Reader& reader_;
    const JobContext& context_;
    Handle(StepData_StepModel) model_;
    Handle(Transfer_TransientProcess) process_;
    std::unordered_map<StepId, int> entities_;
};

void TakeBody(std::string_view message, StepShapes& shapes) {
    BytesBuffer buffer(message);
    std::istream stream(&buffer);
    BinTools_ShapeSet set;
    set.Read(stream);
    for (auto count = Get<std::size_t>(stream); count > 0; --count) {
        const auto id = Get<StepId>(stream);
        set.ReadSubs(shapes[id], stream, set.NbShapes());
    }
}

// Where all helpers are on the way together.
class CommonProgress {
  public:
    CommonProgress(const Message_ProgressRange& range, std::size_t helpers)
        : scope_(range, nullptr, 100.0 * static_cast<double>(helpers)), percents_(helpers) {}
    void Note(std::size_t number, int percent) {
        scope_.Next(std::max(0, percent - percents_[number]));
        percents_[number] = percent;
    }

  private:
    Message_ProgressScope scope_;
    std::vector<int> percents_;
};

}  // namespace

STEPCAFControl_Reader& NewStepReader(const JobContext& context) {
    STEPCAFControl_Reader& reader = *new STEPCAFControl_Reader;
    reader.SetPropsMode(Standard_True);
    reader.SetGDTMode(context.KeepsAnnotations());
    return reader;
}

Outcome ParseStep(const JobContext& context, STEPCAFControl_Reader& reader, std::string_view text) {
    return ParseExchangeFile(context, reader, [&] {
        const std::string name = Utf8(context.file);
        if (ParseStepText(text, name.c_str(), reader.Reader().WS())) return IFSelect_RetDone;
        BytesBuffer buffer(text);
        std::istream stream(&buffer);
        return reader.ChangeReader().ReadStream(name.c_str(), stream);
    });
}

StepBodies::StepBodies(const JobContext& context, const StepShares& shares)
    : shares_(shares), helpers_(shares.shares.size(), [&](std::size_t number, const Helpers::Say& say) {
          ShareWork(context, shares, say).Do(shares.shares[number]);
      }) {}

bool StepBodies::Give(STEPCAFControl_Reader& reader, StepShapes& shapes,
                      const Message_ProgressRange& progress) {
    CommonProgress common(progress, shares_.shares.size());
    std::vector<std::string> texts;
    const bool done = helpers_.Listen([&](std::size_t number, char kind, std::string_view message) {
        if (kind == kBody) TakeBody(message, shapes);
        if (kind == kText) texts.emplace_back(message);
        if (kind == kPercent) common.Note(number, message.front());
    });
    if (!done) return false;
    for (const std::string& text : texts)
        Message::DefaultMessenger()->Send(text.c_str() + 1, static_cast<Message_Gravity>(text.front()));
    const auto session = reader.Reader().WS();
    session->TransferReader()->BeginTransfer();
    const auto process = session->TransferReader()->TransientProcess();
    const auto model = Handle(StepData_StepModel)::DownCast(session->Model());
    for (int number = 1; number <= model->NbEntities(); ++number) {
        const Handle(Standard_Transient)& entity = model->Value(number);
        const auto shape = shapes.find(static_cast<StepId>(model->IdentLabel(entity)));
        if (shape != shapes.end()) process->Bind(entity, new TransferBRep_ShapeBinder(shape->second));
    }
    return true;
}

}  // namespace morvex
