// Names what crosses the boundary to the host, so that debug information describes all of it.
#include "foundation/core/except/IMsgIDException.h"
#include "project/exception/ProjectException.h"
#include "project/management/ProjectManager.h"
#include "project/metadata/MetadataManager.h"
#include "project/sharing/SerializationData.h"
#include "project/sharing/TransformationHierarchy.h"

namespace host {

using namespace project::management;
using namespace project::metadata;

void interfaces(ProjectManager&, FileManager&, LabelManager&, MetadataManager&, MetadataNode&,
                foundation::core::except::IMsgIDException&, project::sharing::TransformationHierarchy&) {}

void values(FileLabel, LabelIdentifier, CategoryIdentifier, PathElement, MetadataPath, MetadataNodeSpecification,
            MetadataScopeGuard, project::exception::ProjectException, project::sharing::SerializationData) {}

}  // namespace host
