// The flat face list of a body and its interface nodes. The unit owns SbrBody::faces and SbrBody::interface_nodes: it
// enters faces; the reductions of the surface walk and replace the list through the functions here.
#ifndef SBRKIT_BODY_FACES_H
#define SBRKIT_BODY_FACES_H

#include <span>
#include <utility>

#include "body/body.h"

namespace sbr {

// Walks the faces of a flat list. A face whose vertex count is negative or runs past the end of the list ends the walk,
// so that a damaged list gives the faces in front of the damage.
//
//   for (FaceWalk walk(body.faces); walk.next();) use(walk.face());
class FaceWalk {
 public:
  explicit FaceWalk(const FaceList &faces) noexcept : list_(faces.list.span()), left_(faces.face_count) {}
  FaceWalk(std::span<const std::int32_t> list, int face_count) noexcept : list_(list), left_(face_count) {}

  // Goes on to the next face; false behind the last one.
  [[nodiscard]] bool next() noexcept {
    if (left_ < 1 || end_ >= list_.size()) return false;
    const std::int32_t count = list_[end_];
    if (count < 0 || static_cast<std::size_t>(count) > list_.size() - end_ - 1) return false;
    start_ = end_;
    end_ += static_cast<std::size_t>(count) + 1;
    left_ -= 1;
    return true;
  }
  // The vertices of the present face.
  [[nodiscard]] std::span<const std::int32_t> face() const noexcept {
    return list_.subspan(start_ + 1, end_ - start_ - 1);
  }
  // Where the count word of the present face stands in the list.
  [[nodiscard]] std::size_t start() const noexcept { return start_; }

 private:
  std::span<const std::int32_t> list_;
  std::size_t start_ = 0;
  std::size_t end_ = 0;
  int left_;
};

// Takes over a new list of face_count faces in place of the present one.
inline void replace_faces(SbrBody &body, Array<std::int32_t> &&list, int face_count) noexcept {
  body.faces.list = std::move(list);
  body.faces.face_count = face_count;
}

}  // namespace sbr

#endif
