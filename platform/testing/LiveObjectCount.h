#pragma once

#import <Foundation/Foundation.h>

/// How many more objects of exactly `objectClass` live now than when the counting started, which the first call does.
long LiveObjectCount(Class objectClass);
