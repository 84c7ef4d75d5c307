def main():
    i = 0
    t = 0
    w = "catalogue"
    while i < 10000000:
        i = i + 1
        t = t + len(w)


main()
