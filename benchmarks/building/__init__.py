"""Model building in this library and in its open peers: one file a library, one function a case."""
