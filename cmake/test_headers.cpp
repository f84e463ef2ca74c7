// Owner of the headers that tests share; never run.

int main() {}
