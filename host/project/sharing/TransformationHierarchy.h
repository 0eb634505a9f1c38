#pragma once

#pragma GCC visibility push(default)

namespace project::sharing {

struct SerializationData;

// A step that the sharing machinery runs over the data of a sharing operation before it serialises the project.
class TransformationHierarchy {
 public:
  virtual ~TransformationHierarchy() = default;
  virtual void apply(SerializationData& data) const = 0;
};

}  // namespace project::sharing

#pragma GCC visibility pop
