extern "C" int NSExtensionMain(int argc, char** argv);

// A real function and not the entry point itself, so that returning from it destroys what the process owns.
int main(int argc, char** argv) {
  return NSExtensionMain(argc, argv);
}
