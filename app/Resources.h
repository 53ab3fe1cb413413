#pragma once

#include <QString>

// The application's bundled resources (property lists, pictures).
namespace Resources {

// The path of resource name.type, or "" when there is none. Looks beside the installed
// binary first (../share/quillmere/resources, ../resources), then in the source tree.
QString pathForResource(const QString &name, const QString &type);

} // namespace Resources
