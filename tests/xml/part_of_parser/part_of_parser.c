// A parser's library of another build: most of its functions are missing.
void *XML_ParserCreate(const char *encoding) { return encoding == 0 ? 0 : (void *)encoding; }
