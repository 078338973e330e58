#pragma once

#include <functional>
#include <utility>

#include "quillant/CloudServices.h"
#include "quillant/Commands/Command.h"

namespace quillant {

/// The account and the uploads, without a user interface.
class CloudCLI : public Command {
 public:
  using MakeServices = std::function<CloudServices()>;

  /// The services are made once the arguments have been understood.
  explicit CloudCLI(MakeServices makeServices) : makeServices_(std::move(makeServices)) {}

  bool shouldRun(const Arguments& arguments) const override;
  int run(const Arguments& arguments) override;

 private:
  MakeServices makeServices_;
};

}  // namespace quillant
