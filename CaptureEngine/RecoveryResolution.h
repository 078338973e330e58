#pragma once

#include <vector>

#include "CaptureEngine/RecoveryItem.h"
#include "CaptureEngine/RecoveryService.h"

/// What the user decided about interrupted recordings.
namespace quillant::RecoveryResolution {

enum class Confirmation { confirmed, unconfirmed };

void keepAll(const std::vector<RecoveryItem>& items, const RecoveryService& service);

/// Keeps the items whose flag is true, and those past the last flag. The others are deleted if the user has
/// confirmed that, and come up again at the next sweep if not.
void apply(const std::vector<RecoveryItem>& items, const std::vector<bool>& keep, Confirmation confirmation,
           const RecoveryService& service);

}  // namespace quillant::RecoveryResolution
