#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "Core/UUID.h"
#include "Editor/Timeline/TimelineEditEffect.h"
#include "Editor/Timeline/TimelineEditSnapshot.h"
#include "Editor/Timeline/TimelineRegionKind.h"
#include "Editor/Timeline/TimelineSelectedItem.h"
#include "Editor/Timeline/TimelineSpan.h"

namespace quillant {

struct TimelineEditEvent;

/// An edit with what is selected in it and one line for the user. As declared it is empty: no edit, nothing
/// selected.
///
/// It changes by `applying` alone. The functions below that are what the events share: an event's own rule
/// stands with the event.
struct TimelineEditState {
  static constexpr std::string_view initialStatus =
      "Use shortcuts to edit. Space plays, Z adds a zoom, T splits the clip, S changes its speed.";
  static constexpr std::string_view noVideoStatus = "Open a video before editing clips.";

  TimelineEditSnapshot snapshot;
  std::vector<TimelineSelectedItem> additionalSelection;  ///< Beside the primary one that the ids name.
  std::optional<TimelineRegionKind> selectedKind;         ///< Of the region that `selectedID` names.
  std::optional<UUID> selectedID;                         ///< A zoom, trim or annotation.
  std::optional<UUID> selectedClipID;
  std::optional<UUID> selectedCameraClipID;
  std::optional<UUID> selectedAudioClipID;
  std::string statusMessage{initialStatus};

  /// Carries the event out, or refuses it: then the snapshot stays as it is, and where the user should know
  /// why, `statusMessage` says so. Pure: what is to be done beyond the state is returned. Defined with the
  /// event, which knows all rules.
  TimelineEditEffects applying(const TimelineEditEvent& event);

  void clearSelection();
  /// The primary item first. An id may outlive what it names, by undo: zooms and audio clips that are gone
  /// are left out.
  std::vector<TimelineSelectedItem> selectedItems() const;
  /// The first item becomes the primary one.
  void setSelection(const std::vector<TimelineSelectedItem>& items);
  void toggleSelected(const TimelineSelectedItem& item);

  using IDs = std::unordered_set<UUID>;
  using Clips = std::vector<TimelineClip>;
  using AudioClips = std::vector<TimelineAudioClip>;

  /// Stores the result of an edit of the clips, and drops from the selection the clips that are gone.
  void storeClips(Clips clips, double duration);
  /// Stores what `body` makes of the effective clips; where it makes none, the status becomes `refused` if
  /// that says anything. Without a video the status says so. Whether clips were stored.
  bool editClips(std::string_view refused, double duration,
                 const std::function<std::optional<Clips>(const Clips&)>& body);
  /// Deletes the clips, the voice row following. Returns how many there were, 0 without a video; none is a
  /// refusal, which the status says: they are all there is to play.
  std::optional<std::size_t> deleteClips(const IDs& ids, double duration);

  CopyOnWriteVector<TimelineAudioClip>& audioClips(TimelineAudioRow row);
  /// The same frame for a row of sound.
  bool editAudio(std::string_view refused, TimelineAudioRow row,
                 const std::function<std::optional<AudioClips>(const AudioClips&)>& body);
  /// On the row that holds the clip; no row, no edit.
  bool editAudioClip(std::string_view refused, const UUID& id,
                     const std::function<std::optional<AudioClips>(const AudioClips&)>& body);
  /// Pulls the voice row along when the video loses stretches of output, none overlapping another. Music
  /// keeps its place.
  void rippleVoiceRow(const std::vector<TimelineSpan>& removing);

  friend bool operator==(const TimelineEditState&, const TimelineEditState&) = default;
};

}  // namespace quillant
