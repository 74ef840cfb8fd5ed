#pragma once

#import "bundle/app/Status.h"

/// What a help desk asks for, for programs to read: the status, versions, the settings in force with their files, what
/// the end of the token log says and that end. Neither secrets nor the user's folder nor the computer's name are in it;
/// labels of certificates and serial numbers are.
QEL_APP_EXTERN NSDictionary *QELSupportReport(QELStatus *status, NSDate *now);

/// The same as a text for people.
QEL_APP_EXTERN NSString *QELSupportText(QELStatus *status, NSDate *now);
