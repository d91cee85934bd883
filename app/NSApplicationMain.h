// The toolkit's application loop: loads the main nib, posts the launch notification and
// runs until the application terminates.
#pragma once

int NSApplicationMain(int argc, char** argv);
