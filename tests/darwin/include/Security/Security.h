#pragma once

#include <Security/SecItem.h>
#include <Security/SecKey.h>
#include <Security/SecTransform.h>

#include <Security/SecEncryptTransform.h>
