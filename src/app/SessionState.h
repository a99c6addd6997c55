#pragma once

// State of the capture session: nothing running, recording, or waiting for the backend.
enum class SessionState { idle, recording, working };
