#pragma once

class LoginItem;
class PermissionProbe;
class SystemLog;

// The platform implementations main() picks for the application.
struct PlatformServices
{
    PermissionProbe &permissions;
    LoginItem &loginItem;
    SystemLog &systemLog;
};
