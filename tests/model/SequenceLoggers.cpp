// Creates and destroys the loggers of a sequence.
#include <algorithm>

#include "tests/model/Sequence.h"
#include "tests/model/Vocabulary.h"
#include "tests/support/TestSessions.h"

namespace kiv_test::model {

namespace {

using Model = kiv::TelemetrySubmissionModel;

const char* modelText(Model model) {
  switch (model) {
    case Model::NON_BLOCKING:
      return "NON_BLOCKING";
    case Model::BLOCKING:
      return "BLOCKING";
    default:
      return "LOCKING_IMMEDIATE";
  }
}

bool isUuid(const std::string& text) {
  const std::string pattern = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
  return text.size() == pattern.size() &&
         std::equal(text.begin(), text.end(), pattern.begin(), [](char character, char expected) {
           return expected == '-' ? character == '-'
                                  : std::isxdigit(static_cast<unsigned char>(character)) != 0;
         });
}

}  // namespace

Session Sequence::chooseSession() {
  static const std::string kTexts[] = {"s", "t", "st", "S"};
  const size_t choice = input_.below(8);
  if (choice == 0) return subjects_[input_.below(subjects_.size())].session;
  if (choice == 1) {
    Session child = subjects_[input_.below(subjects_.size())].session;
    const kiv::KivSessionId id(std::make_shared<kiv::KivSessionId>(makeSessionId(child)));
    const std::string text = id.toString();
    child.chain.push_back(text.substr(text.rfind('.') + 1));
    expectThat(isUuid(child.chain.back()) && text == child.text(), "a session is named " + text);
    return child;
  }
  Session session;
  for (size_t depth = 1 + input_.below(3); depth > 0; --depth) {
    session.chain.push_back(input_.oneOf(kTexts));
  }
  return session;
}

void Sequence::addSubject(Subject subject) {
  if (subject.isImmediate()) {
    subject.own = std::make_shared<Aggregations>(reference_.makeAggregations());
  } else if (subject.worker.get() != current_) {
    // Where the aggregation was stopped, the constructor has posted its start.
    subject.worker->run([] {});
  }
  subjects_.push_back(std::move(subject));
}

void Sequence::makeLogger() {
  settle();
  static constexpr Model kModels[] = {Model::NON_BLOCKING, Model::BLOCKING,
                                      Model::LOCKING_IMMEDIATE};
  switch (input_.below(6)) {
    case 0:
      return makeLoggerOfManager(input_.oneOf(kModels));
    case 1:
      return makeLoggerOfManager(Model::LOCKING_IMMEDIATE);
    case 2:
      return makeLoggerOfEnvironment();
    case 3:
      return makeLoggerOfDelegate();
    default:
      return makeLoggerOnOwnWorker(input_.flag() ? Model::BLOCKING : Model::NON_BLOCKING);
  }
}

void Sequence::makeLoggerOfManager(Model model) {
  const std::string label = "logger" + std::to_string(++labels_);
  const bool by_default = model == Model::NON_BLOCKING && input_.flag();
  const Session session = by_default ? process_.root : chooseSession();
  const std::string name = by_default ? std::string() : chooseText(input_);
  note(label + " = TelemetryLogger(" +
       (by_default ? std::string()
                   : quoted(session.text()) + ", " + quoted(name) + ", " + modelText(model)) +
       ")");
  auto logger = by_default
                    ? std::make_shared<kiv::TelemetryLogger>()
                    : std::make_shared<kiv::TelemetryLogger>(makeSessionId(session), name, model);
  addSubject({label, std::move(logger), nullptr, session, name, model,
              model == Model::LOCKING_IMMEDIATE ? nullptr : process_.worker});
  reference_.start(subjects_.back().expected());
}

void Sequence::makeLoggerOfEnvironment() {
  // Its session is visible only in its events.
  if (!reference_.enabled || current_ != nullptr) return;
  const std::string label = "logger" + std::to_string(++labels_);
  const bool has_parent = input_.flag();
  const Session parent = has_parent ? chooseSession() : process_.root;
  const std::string name = chooseText(input_);
  note(label + " = TelemetryEnv(" + quoted(name) +
       (has_parent ? ", " + quoted(parent.text()) : std::string()) + ")");
  const kiv::TelemetryEnv environment =
      has_parent ? kiv::TelemetryEnv(name, makeSessionId(parent)) : kiv::TelemetryEnv(name);
  Subject subject{label, environment.getLogger(), nullptr,        parent,
                  name,  Model::NON_BLOCKING,     process_.worker};
  reference_.start(process_.worker->expected);
  learnSession(subject, parent);
  addSubject(std::move(subject));
}

void Sequence::learnSession(Subject& subject, const Session& parent) {
  note(subject.label + " flushes, reports a text and flushes, with a module that behaves");
  back_calls_enabled_ = false;
  recorder_.withholdEvents(0);
  reference_.withholdEvents(0);
  process_.worker->run([&] {
    subject.logger->flush();
    subject.logger->logKivEvent<std::string>("session", "", kiv::NumericAggregationType::COUNT);
    subject.logger->flush();
  });
  const auto events = recorder_.events();
  const std::string text =
      events.empty() ? std::string() : events.back().strings.at("kiv_session_id");
  subject.session = parent;
  subject.session.chain.push_back(text.substr(text.rfind('.') + 1));
  expectThat(isUuid(subject.session.chain.back()) && text == subject.session.text(),
             "a session is named " + text + " under " + parent.text());

  reference_.thread = process_.worker->id;
  reference_.flush(process_.worker->expected);
  reference_.report(process_.worker->expected, textReport(subject.session, "session", "", 4),
                    false);
  reference_.flush(process_.worker->expected);
  back_calls_enabled_ = true;
}

void Sequence::makeLoggerOfDelegate() {
  const std::string label = "logger" + std::to_string(++labels_);
  const std::string name = chooseText(input_);
  note(label + " = TelemetryDelegate::createHandler(" + quoted(name) + ")");
  addSubject({label, nullptr, kiv::TelemetryDelegate::getInstance().createHandler(name),
              process_.root, name, Model::LOCKING_IMMEDIATE, nullptr});
  reference_.start(subjects_.back().expected());
}

void Sequence::makeLoggerOnOwnWorker(Model model) {
  const std::string label = "logger" + std::to_string(++labels_);
  const Session session = chooseSession();
  const std::string name = chooseText(input_);
  const bool joins = !own_workers_.empty() && input_.below(4) != 0;
  if (!joins) {
    auto worker = std::make_shared<Worker>(kiv::TaskRunnerThread::create(std::chrono::hours(1)));
    worker->expected = reference_.makeAggregations();
    workers_.push_back(worker);
    own_workers_.emplace_back(worker, kiv::internal::makeAggregationManagers());
  }
  const size_t index = joins ? input_.below(own_workers_.size()) : own_workers_.size() - 1;
  const auto& [worker, managers] = own_workers_[index];
  note(label + " = TelemetryLogger(" + quoted(session.text()) + ", " + quoted(name) + ", " +
       modelText(model) + ") on " + (joins ? "" : "new ") + "worker " +
       std::to_string(worker->expected.kinds[0].id));
  auto logger = std::make_shared<kiv::TelemetryLogger>(
      makeSessionId(session), name, worker->thread, managers.error_code_manager_,
      managers.stream_event_manager_, managers.audio_latency_manager_,
      managers.int64_event_manager_, managers.float_event_manager_, managers.string_event_manager_,
      model);
  addSubject({label, std::move(logger), nullptr, session, name, model, worker});
  reference_.start(worker->expected);
}

void Sequence::dropLogger(size_t index) {
  settle();
  const auto position = subjects_.begin() + static_cast<std::ptrdiff_t>(index);
  Subject subject = std::move(*position);
  subjects_.erase(position);
  note(subject.label + " is destroyed");
  for (auto back = back_calls_.begin(); back != back_calls_.end();) {
    back = back->second.label == subject.label ? back_calls_.erase(back) : std::next(back);
  }
  reference_.thread = std::this_thread::get_id();
  if (subject.isImmediate()) {
    reference_.destroy(*subject.own);
    return;
  }
  const auto owns = [&](const auto& other) { return other.worker == subject.worker; };
  if (std::any_of(subjects_.begin(), subjects_.end(), owns)) return;
  // The last logger on a worker is the last owner of its managers.
  reference_.destroy(subject.worker->expected);
  workers_.erase(std::find(workers_.begin(), workers_.end(), subject.worker));
  own_workers_.erase(std::find_if(own_workers_.begin(), own_workers_.end(),
                                  [&](const auto& own) { return own.first == subject.worker; }));
  subject.logger.reset();
}

}  // namespace kiv_test::model
