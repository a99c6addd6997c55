#include "platform/LoginItem.h"

LoginItem::~LoginItem() = default;
