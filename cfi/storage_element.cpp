#include "cfi/storage_element.h"

#include <algorithm>
#include <vector>

#include "cfi/element_path.h"

namespace VRX::System::CFI {

StorageElement::StorageElement(StorageFile& file) : file_(file), name_(last_component(kRootPath)) {}

// A loop, since storages may be nested deep.
std::string StorageElement::path() const {
  std::vector<const StorageElement*> way;
  for (const StorageElement* element = this; element != nullptr; element = element->parent_) {
    way.push_back(element);
  }
  std::string path;
  std::ranges::reverse(way);
  for (const StorageElement* element : way) path.append("/").append(element->name_);
  return path;
}

}  // namespace VRX::System::CFI
