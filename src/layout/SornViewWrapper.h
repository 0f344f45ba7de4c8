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
  // Takes a copy of what it needs of the campaign, so that the document may go.
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

  // What was last laid out. The hit targets point into this object.
  DisplayList displayList() const;

  const std::vector<NodeBox>& nodes() const { return tree_.nodes(); }
  // The rectangle that the content's host fills: the surface, or the sheet.
  const Rect& hostFrame() const { return host_; }

 private:
  bool isSheet() const;
  std::unique_ptr<LayoutItem> makeRoot();
  std::unique_ptr<LayoutItem> withCloseButton(std::unique_ptr<LayoutItem> content, Insets margin,
                                              Point offset);
  void place();
  Insets hostInsets() const;
  Rect safeRect() const;
  void paintHost(DisplayList& list, Painter& painter) const;
  void paintCloseButton(DisplayList& list) const;

  documents::SornInAppCampaign::MetaData metadata_;
  documents::SornView content_;
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
