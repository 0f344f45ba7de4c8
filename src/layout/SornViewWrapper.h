#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "documents/SornInAppCampaign.h"
#include "layout/DisplayList.h"
#include "layout/LayoutTree.h"
#include "layout/Painter.h"
#include "layout/SornSheetConfiguration.h"

namespace sorn::layout {

// A campaign at rest on a surface: its content, and the frame around it that its type asks for. A full-screen
// campaign covers the surface, a dialog lies in the middle of a tinted backdrop, a sheet at the top or bottom
// edge of one. Full-screen campaigns and dialogs may have a close button over the content's top trailing
// corner.
//
// Belongs to one thread, and to the text measure's.
class SornViewWrapper {
 public:
  // The campaign outlives the wrapper.
  // `customFontFamily`: the family that the host chose for all texts; absent: the system's.
  SornViewWrapper(const documents::SornInAppCampaign& campaign, TextMeasure& measure,
                  std::optional<std::string> customFontFamily = std::nullopt);
  SornViewWrapper(const SornViewWrapper&) = delete;
  SornViewWrapper& operator=(const SornViewWrapper&) = delete;

  // Lays everything out on a surface, in points. What the insets leave is what nothing of the device covers.
  void layOut(Size surface, const Insets& safeArea = {});

  // The pictures to fetch. One that has come is told with its size in points; whether the layout has changed,
  // in which case it has been done again, with nothing measured anew that does not lie around the picture.
  const std::vector<ImageSlot>& images() const { return tree_.images(); }
  bool setImageSize(std::size_t slot, Size size);

  // What was last laid out, in two lists, since a transition moves one of them. The backdrop is in
  // coordinates of the surface, with a share of its opacity; empty for a full-screen campaign. The presented
  // view, with the chrome that moves along, is in its own, from its top left, like the frames of the nodes;
  // `corners` is the share of the radius that a sheet on its way has. The hit targets point into the
  // campaign.
  DisplayList backdrop(double opacity = 1) const;
  DisplayList presented(double corners = 1) const;

  const std::vector<NodeBox>& nodes() const { return tree_.nodes(); }
  // Where the presented view lies on the surface: all over it, or the sheet's place.
  const Rect& presentedFrame() const { return host_; }
  bool isSheet() const;
  const SornSheetConfiguration& sheet() const { return sheet_; }

 private:
  documents::RootType type() const { return campaign_.content_metadata.type; }
  std::unique_ptr<LayoutItem> makeRoot();
  std::unique_ptr<LayoutItem> withCloseButton(std::unique_ptr<LayoutItem> content, Insets margin,
                                              Point offset);
  void place();
  Insets hostInsets() const;
  Rect bounds() const { return {0, 0, host_.width, host_.height}; }
  Rect safeRect() const;
  void paintHost(DisplayList& list, Painter& painter, double corners) const;
  void paintCloseButton(DisplayList& list) const;

  const documents::SornInAppCampaign& campaign_;
  SornSheetConfiguration sheet_;
  LayoutTree tree_;
  LayoutItem* closeButton_ = nullptr;
  LayoutItem* padded_ = nullptr;  // a sheet's content with the room around it
  std::unique_ptr<LayoutItem> root_;

  Size surface_;
  Insets safeArea_;
  Rect host_;
};

}  // namespace sorn::layout
