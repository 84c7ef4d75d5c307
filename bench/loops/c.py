def main():
    i = 0
    n = 0
    s = ""
    while i < 10000000:
        i = i + 1
        s += "x"
        n = n + 1
        if n == 1000:
            s = ""
            n = 0


main()
