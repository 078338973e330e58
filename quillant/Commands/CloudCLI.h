#pragma once

#include <functional>
#include <utility>

#include "Editor/Captions/Transcriber.h"
#include "quillant/CloudServices.h"
#include "quillant/Commands/Command.h"
#include "quillant/Commands/ShareWords.h"

namespace quillant {

/// The account and the uploads, without a user interface.
class CloudCLI : public Command {
 public:
  using MakeServices = std::function<CloudServices()>;

  using MakeTranscriber = std::function<Transcriber()>;

  /// What is needed of these is made once the arguments have been understood.
  CloudCLI(MakeServices makeServices, MakeTranscriber makeTranscriber)
      : makeServices_(std::move(makeServices)), makeTranscriber_(std::move(makeTranscriber)) {}

  bool shouldRun(const Arguments& arguments) const override;
  int run(const Arguments& arguments) override;

 private:
  int share(ShareWords words) const;

  MakeServices makeServices_;
  MakeTranscriber makeTranscriber_;
};

}  // namespace quillant
