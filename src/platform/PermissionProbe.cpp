#include "platform/PermissionProbe.h"

PermissionProbe::~PermissionProbe() = default;
