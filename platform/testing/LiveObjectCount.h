#pragma once

#import <Foundation/Foundation.h>

#include <functional>

/// How many more objects of exactly `objectClass` live now than when the counting started, which the first call does.
long LiveObjectCount(Class objectClass);

/// How many objects, of whatever class, ten runs of `body` leave behind. It has run before then: the first runs fill
/// Foundation's caches. Each run has an autorelease pool of its own.
long ObjectsLeftBehind(const std::function<void()>& body);
